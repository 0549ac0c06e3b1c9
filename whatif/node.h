// One machine as the what-if node keeps it: plain records. SIDs are kept in their string form, names as Windows writes
// them; names are compared without regard to case, as Windows does.
#pragma once

#include "whatif/change.h"
#include "whatif/spelling.h"
#include "whatif/texts.h"

#include <windows.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace whatif {

// A local user (no domain), or a domain account that the node can resolve.
struct Account
{
    std::wstring name;
    std::wstring domain;
    std::wstring sid;
    SID_NAME_USE use = SidTypeUser;
    std::wstring password;  // what LogonUser accepts
    DWORD flags = 0;        // usri1_flags
    bool managed = false;   // managed service account of the standalone or the group kind
    DWORD managedState = 0; // what NetQueryServiceAccount says: 0 it has nothing to say (it fails), 5 installed
    std::vector<std::wstring> memberOf; // SIDs of the groups of its domain that it belongs to
};

struct Group
{
    std::wstring name;
    std::wstring comment;
    std::wstring sid;
    std::vector<std::wstring> members; // SIDs, in the order they were added
};

struct Service
{
    std::wstring name;
    std::wstring displayName;
    std::wstring binaryPath;
    std::wstring account; // as it was given to the service control manager, else "LocalSystem", empty for a driver
    std::wstring password;
    std::wstring loadOrderGroup;
    std::vector<std::wstring> dependencies;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    DWORD start = SERVICE_DEMAND_START;
    DWORD errorControl = SERVICE_ERROR_NORMAL;
    DWORD tag = 0;
    DWORD sidType = 0;     // SERVICE_SID_TYPE_NONE
    std::wstring security; // SDDL of the DACL
    bool deleted = false;  // marked: it goes with its last handle
};

// The directories of a tree under the first names that they were reached by: junctions and links lead to the same
// objects.
struct DirectoryNames
{
    struct Name
    {
        std::wstring real; // where it lies
        std::wstring path; // on the node
    };
    Texts known; // both, with a "|" between them, by volume and file index
    Name last;   // asked for, and its answer
};

struct Node
{
    std::wstring name; // computer name
    DWORD major = 10;
    DWORD minor = 0;
    BYTE productType = VER_NT_SERVER;
    std::wstring sid;    // of the computer: what the SIDs of its own users and groups begin with
    std::wstring domain; // that it belongs to; on a domain controller, whose accounts its own accounts are
    std::set<std::wstring, NoCase> missing; // what this release lacks of what is resolved at run time:
                                            // "Logoncli.dll", "NetIsServiceAccount", "NetQueryServiceAccount"
    DWORD minimumPasswordLength = 0;
    size_t memberPiece = SIZE_MAX; // how many members of a group are handed out at once
    bool readsMachine = false;     // what the node does not hold is read from the real machine

    std::vector<Account> accounts;
    std::vector<Group> groups;
    std::map<std::wstring, std::vector<std::wstring>, NoCase> rights; // right -> SIDs that hold it
    std::vector<Service> services;
    Texts security;       // object name -> SDDL of its DACL ("file C:\\x", "registry ...")
    Texts securityBefore; // of changed directories: what they had passed on
    DirectoryNames directories;
    std::map<std::wstring, std::wstring, NoCase> drives; // "C" -> directory that \\name\C$ stands for
    std::set<std::wstring, NoCase> gone; // objects of the real machine that were deleted here: "group X", "service Y"
    DWORD nextRid = 1001;                // relative identifier of the next local account or group
};

} // namespace whatif
