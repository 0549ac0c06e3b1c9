// Every message of the catalogue, as sswseFillErrMsg of the shipped library writes it.
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

struct Message
{
    DWORD id;
    const char* text; // as the message table holds it, without the last line end; %n is a line break
};

constexpr Message messages[] = {
    {0x40020001, "WSE-00001: This is a test event."},
    {0x40020003, "WSE-00003: %1."},
    {0x40020004, "WSE-00004: %1 %2."},
    {0x40020005, "WSE-00005: %1 %2 %3."},
    {0xC0020002, "WSE-00002: Unable to allocate memory: malloc()."},
    {0xC0020006, "WSE-00006: Error during conversion of multibyte string to wide character string."},
    {0xC0020007, "WSE-00007: Error during conversion of wide character string to multibyte string."},
    {0xC0020008, "WSE-00008: Unsupported Kestel home type.\r\n%nCause : This error should be treated as an internal "
                 "error.\r\n%nAction : Contact Kestel Support Services."},
    {0xC0020009, "WSE-00009: Internal error.\r\n%nCause : This error should not occur at a customer site.\r\n%nAction "
                 ": Contact Kestel Support Services.\r\n%nAdditional info :%n%1."},
    {0xC002000A, "WSE-000010: Unable to open registry key %1 under %2."},
    {0xC002000B, "WSE-000011: Cannot open the Windows Service Control Manager."},
    {0xC002000C, "WSE-000012: Null or invalid %1 parameter."},
    {0xC002000D, "WSE-000013: Unable to create SID for builtin %1 account."},
    {0xC002000E, "WSE-000014: Lookup for Windows account name failed."},
    {0xC002000F, "WSE-000015: Unable to get list of groups to which the user belongs."},
    {0xC0020010, "WSE-000016: Creating a domain user account is not supported."},
    {0xC0020011, "WSE-000017: Deleting a domain user account is not supported."},
    {0xC0020012, "WSE-000018: Credential verification failed."},
    {0xC0020013, "WSE-000019: Cannot get computer name."},
    {0xC0020014, "WSE-000020: Error loading dynamic library %1."},
    {0xC0020015, "WSE-000021: Procedure %1 not found in dynamic library %2."},
    {0xC0020016, "WSE-000022: Error while determining Managed Service Account."},
    {0xC0020017, "WSE-000023: Error creating user account. Account already exists."},
    {0xC0020018, "WSE-000024: Unable to create user account."},
    {0xC0020019, "WSE-000025: Unable to open Policy data."},
    {0xC002001A, "WSE-000026: Unable to deny interactive login privilege to user."},
    {0xC002001B, "WSE-000027: Unable to delete user account."},
    {0xC002001C, "WSE-000028: Unable to create operating system group."},
    {0xC002001D, "WSE-000029: Unable to delete operating system group."},
    {0xC002001E, "WSE-000030: Unable to get information on operating system group."},
    {0xC002001F, "WSE-000031: Unable to add user to operating system group."},
    {0xC0020020, "WSE-000032: Unable to delete user from operating system group."},
    {0xC0020021, "WSE-000033: Insufficient output buffer for %1."},
    {0xC0020022, "WSE-000034: Lookup for Windows account system identifier (SID) failed."},
    {0xC0020023, "WSE-000035: Cannot open process token."},
    {0xC0020024, "WSE-000036: Cannot get token information."},
    {0xC0020025, "WSE-000037: Cannot copy the system identifier (SID) data of the operating system."},
    {0xC0020026, "WSE-000038: Conversion of the system identifier (SID) of the operating system failed."},
    {0xC0020027, "WSE-000039: The system identifier (SID) of the operating system is invalid."},
    {0xC0020028, "WSE-000040: Unable to remove privilege for user."},
    {0xC0020029, "WSE-000041: Unable to grant privilege to user."},
    {0xC002002A, "WSE-000042: Unable to enumerate the privileges the user has."},
    {0xC002002B, "WSE-000043: Unable to enumerate accounts with the specified privilege."},
    {0xC002002C, "WSE-000044: Unable to open registry on remote node."},
    {0xC002002D, "WSE-000045: Unable to determine operating system version."},
    {0xC002002E, "WSE-000046: Unable to get module handle for the library."},
    {0xC002002F, "WSE-000047: Unable to get full path for the module."},
    {0xC0020030, "WSE-000048: Unable to query value for %1 in registry."},
    {0xC0020031, "WSE-000049: Unable to set value for %1 in registry."},
    {0xC0020032, "WSE-000050: Unable to create registry key %1."},
    {0xC0020033, "WSE-000051: Unable to delete registry key %1."},
    {0xC0020034, "WSE-000052: Unable to determine Kestel home."},
    {0xC0020035, "WSE-000053: Windows application programming interface (API) %1 failed."},
    {0xC0020036, "WSE-000054: Unable to get a handle to the service."},
    {0xC0020037, "WSE-000055: Unable to query service details."},
    {0xC0020038, "WSE-000056: Unable to delete service."},
    {0xC0020039, "WSE-000057: Unable to create service."},
    {0xC002003A, "WSE-000058: Unable to update service."},
    {0xC002003B, "WSE-000059: Unable to construct security descriptor."},
    {0xC002003C, "WSE-000060: Unable to enumerate services on the host."},
    {0xC002003D, "WSE-000061: Service system identifier (SID) is unsupported on this operating system."},
    {0xC002003E, "WSE-000062: Service type is unsupported on this operating system."},
    {0xC002003F, "WSE-000063: Input arguments are invalid. Internal error : %1."},
    {0xC0020040, "WSE-000064: Internal error : Unsupported permission type."},
    {0xC0020041, "WSE-000065: Unable to iterate through files."},
    {0xC0020042, "WSE-000066: Unable to get security information for object."},
    {0xC0020043, "WSE-000067: Unable to set security information for object."},
    {0xC0020044, "WSE-000068: Unable to determine domain controller."},
};

constexpr const char* inserts[] = {"first", "C:\\second %1 %n", "th\xEFrd"};

std::string formatted(std::string text)
{
    for (size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
        const std::string insert = text[at + 1] == 'n' ? "\r\n" : inserts[text[at + 1] - '1'];
        text.replace(at, 2, insert);
        at += insert.size();
    }
    return text + "\r\n";
}

} // namespace

TEST(Catalogue, EveryMessageComesBackByteForByte)
{
    const support::LibraryCopy library;
    const auto fill = EXPORT_OF(library, sswseFillErrMsg);
    std::set<DWORD> known;
    for (const Message& message : messages) {
        sswseErrRec rec = {};
        fill(&rec, message.id, 0, "routine", "api", inserts[0], inserts[1], inserts[2]);
        EXPECT_EQ(rec.message, formatted(message.text)) << std::hex << message.id;
        EXPECT_STREQ(rec.oserror, "");
        known.insert(message.id);
    }
    for (const DWORD severity : {SSWSE_INFORMATIONAL_MESSAGE(0), SSWSE_ERROR_MESSAGE(0)})
        for (DWORD id = severity; id < severity + 80; ++id) {
            sswseErrRec rec = {};
            fill(&rec, id, 0, "routine", "api", inserts[0], inserts[1], inserts[2]);
            EXPECT_EQ(known.count(id) == 0, std::string(rec.message) == " ") << std::hex << id;
        }
}
