// Access-control entries as text, one "(...)" each: SDDL, and for what SDDL does not speak of
//   (OA;..) (OD;..) (T9;..)  an object entry or an entry of type 9 in the layout of "(A;..)"
//   (#0011223344..)          an entry's bytes
// An object whose security the test holds; and calls of the legacy permission setting.
#pragma once

#include "keswsec.h"
#include "whatif/redirect/imports.h"

#include <string>
#include <vector>

#define API_FAILED(api) "WSE-000053: Windows application programming interface (API) " api " failed."

namespace acetext {

using Ace = std::vector<BYTE>;
using Aces = std::vector<Ace>;

Aces acesOf(const std::string& text);
Aces acesOf(const ACL* acl); // none for NULL

std::vector<BYTE> aclOf(const std::string& text);

// Pointers to the entries, as the library takes them.
std::vector<ACCESS_ALLOWED_ACE*> pointersTo(Aces& aces);

// Under whatever path the functions that are linked into the test program look for it.
class HeldObject
{
public:
    enum Form
    {
        list,   // a DACL of the entries
        absent, // no DACL
        null    // a NULL DACL
    };
    explicit HeldObject(const std::string& aces, Form form = list, SECURITY_DESCRIPTOR_CONTROL marks = 0);
    ~HeldObject();
    HeldObject(const HeldObject&) = delete;
    HeldObject& operator=(const HeldObject&) = delete;

    std::vector<BYTE> descriptor; // that it has: a header of 20 bytes, the DACL
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
    size_t writes = 0;
    Aces result;       // what was written last
    WORD control = 0;  // with it
    BYTE revision = 0; // of it
    whatif::Imports imports;
};

} // namespace acetext

namespace legacy {

using Function = decltype(setPermissions);

struct Result
{
    DWORD status;
    std::vector<std::string> failed;
};

// The list is released as callers do.
Result call(const std::string& name, DWORD isAdmin = 0, Function* function = &setPermissions);

} // namespace legacy
