#include "support/BenchSupport.h"

int main(int argc, char** argv)
{
    return orvbench::BenchMain(argc, argv);
}
