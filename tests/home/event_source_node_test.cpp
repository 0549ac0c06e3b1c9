// The event-log sources of services, on a remote node.
#include "tests/support/node_test.h"

using namespace support;

TEST_F(NodeTest, EventSourcesAreRegisteredOverwrittenAndRemoved)
{
    const auto create = [&](const char* name, const char* file, DWORD types, const char* node = nullptr) {
        return calling(EXPORT(sswseCreateSVCEventRegEntry), name, file, types, node);
    };
    const auto remove = [&](const char* name) { return calling(EXPORT(sswseDeleteSVCEventRegEntry), name, "DB2"); };
    const std::string sources = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\";
    const std::string line = "DB2: registry HKLM\\" + sources + "Kestel: ";
    const std::string missing = "WSE-000051: Unable to delete registry key " + sources + "Kestel.";
    expectNodeCases({
        {"create", create("Kestel", "%SystemRoot%\\a.dll", 0, "DB2"), 2,
         Lines{line + "created", line + "EventMessageFile set: expand:%SystemRoot%\\a.dll",
               line + "TypesSupported set: dword:7"}},
        {"overwrite", create("Kestel", "", 0xFFFFFFFF, "DB2"), 2,
         Lines{line + "EventMessageFile set: expand:%SystemRoot%\\a.dll -> expand:",
               line + "TypesSupported set: dword:7 -> dword:4294967295"}},
        {"remove", remove("Kestel"), 2, Lines{line + "deleted"}},
        {"remove again", remove("Kestel"), 3, missing.c_str(), ERROR_FILE_NOT_FOUND},
        {"no node", create("Kestel", "m", 0, "nowhere"), 3, "WSE-000044", ERROR_BAD_NETPATH},
        {"endless", create(std::string(700, 's').c_str(), "m", 0), 3,
         "WSE-000050: Unable to create registry key SYSTEM\\CurrentControlSet", ERROR_INVALID_PARAMETER},
    });
}
