// Stand-in for the client tool in demos and tests: a program named like the
// real one that stays running until it is ended. OrvprintD's launcher keeps
// it running and starts it again when it is killed.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--help") == 0) {
        std::printf("OrvClientTool stand-in: runs until it is ended.\n");
        return 0;
    }
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(24));
    }
}
