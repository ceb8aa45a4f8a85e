// orvprint: the CUPS backend of the secure queue. Without arguments it names
// its device for lpinfo; with a job it asks the job user's OrvprintD where
// the job goes and forwards it there.
#include <cstdio>
#include <cups/backend.h>
#include "service/Backend.h"

int main(int argc, char** argv)
{
    if (argc == 1) {
        std::printf("direct orvprint \"Unknown\" \"Secure print (OrvprintD)\"\n");
        return CUPS_BACKEND_OK;
    }
    if (argc != 6 && argc != 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return CUPS_BACKEND_FAILED;
    }
    OrvService::CBackend objBackend(argc, argv);
    return objBackend.Run();
}
