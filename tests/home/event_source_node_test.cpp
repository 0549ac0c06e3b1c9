// The event-log sources of services.
#include "tests/support/node_test.h"

using namespace support;

TEST_F(NodeTest, EventSourcesAreOverwrittenAndHaveWholeNames)
{
    const auto create = [&](const std::string& name, const char* file, DWORD types) {
        return
            [=](sswseErrRec* rec) { return EXPORT(sswseCreateSVCEventRegEntry)(rec, name.c_str(), file, types, ""); };
    };
    const std::string line =
        "NODE: registry HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestel: ";
    expectNodeCases({
        {"create", create("Kestel", "%SystemRoot%\\a.dll", 0), 2,
         Lines{line + "created", line + "EventMessageFile set: expand:%SystemRoot%\\a.dll",
               line + "TypesSupported set: dword:7"}},
        {"overwrite", create("Kestel", "", 0xFFFFFFFF), 2,
         Lines{line + "EventMessageFile set: expand:%SystemRoot%\\a.dll -> expand:",
               line + "TypesSupported set: dword:7 -> dword:4294967295"}},
        {"endless", create(std::string(700, 's'), "m", 0), 3, "WSE-000050", ERROR_INVALID_PARAMETER},
    });
}
