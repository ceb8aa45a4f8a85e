#pragma once

#include <map>
#include <string>
#include <vector>

// Cross-process tests re-launch their own test binary with
// "--orv-child=NAME [args...]"; the test main then runs the child entry
// registered under NAME instead of the tests and exits with its result.
//
//   ORV_CHILD_MAIN(QueueSender) { ...; return 0; }   // args: const std::vector<std::string>&
namespace orvtest {

typedef int (*ChildEntry)(const std::vector<std::string>& args);
std::map<std::string, ChildEntry>& ChildEntries();

struct ChildRegistrar {
    ChildRegistrar(const char* szName, ChildEntry pfn) { ChildEntries()[szName] = pfn; }
};

// Full path of the running test binary.
std::string SelfPath();

} // namespace orvtest

#define ORV_CHILD_MAIN(name)                                                        \
    static int OrvChild_##name(const std::vector<std::string>& args);              \
    static ::orvtest::ChildRegistrar orvChildRegistrar_##name(#name, &OrvChild_##name); \
    static int OrvChild_##name(const std::vector<std::string>& args)
