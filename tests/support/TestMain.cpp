#include <clocale>
#include <cstring>
#include <iostream>
#include <gtest/gtest.h>
#include <gmock/gmock.h>
#include "support/ChildMain.h"

namespace orvtest {

std::map<std::string, ChildEntry>& ChildEntries()
{
    static std::map<std::string, ChildEntry> s_mapEntries;
    return s_mapEntries;
}

} // namespace orvtest

int main(int argc, char** argv)
{
    // Wide texts (Chinese names) are converted through the C locale.
    if (!setlocale(LC_ALL, "C.UTF-8")) {
        setlocale(LC_ALL, "");
    }

    if (argc >= 2 && std::strncmp(argv[1], "--orv-child=", 12) == 0) {
        const std::string strName = argv[1] + 12;
        auto it = orvtest::ChildEntries().find(strName);
        if (it == orvtest::ChildEntries().end()) {
            std::cerr << "unknown child entry " << strName << std::endl;
            return 127;
        }
        std::vector<std::string> args(argv + 2, argv + argc);
        return it->second(args);
    }

    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
