// orv_bench_service: the print service's benchmarks, and two helpers of
// scripts/bench.sh:
//   --serve-channel USER PRINTER_ID PROJECT_ID
//                     a stand-in OrvprintD of USER that answers every
//                     request at once (CStandInReceiver; run as root)
//   --write-pdf=FILE  writes the 500-page PDF of the page count benchmark
#include "bench/service/ServiceDocuments.h"
#include "bench/service/StandInReceiver.h"
#include "support/BenchSupport.h"
#include <cstring>

int main(int argc, char** argv)
{
    if (argc == 5 && std::strcmp(argv[1], "--serve-channel") == 0) {
        orvbench::CStandInReceiver objReceiver(argv[2], argv[3], argv[4]);
        return objReceiver.Serve();
    }
    if (argc == 2 && std::strncmp(argv[1], "--write-pdf=", 12) == 0) {
        return orvbench::WriteTextFile(argv[1] + 12, orvbench::MakeTextPdf(500, false)) ? 0 : 1;
    }
    return orvbench::BenchMain(argc, argv);
}
