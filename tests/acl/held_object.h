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

// Pointers to the entries, as the library takes them.
std::vector<ACCESS_ALLOWED_ACE*> pointersTo(Aces& aces);

// Under whatever path the functions that are linked into the test program look for it.
class HeldObject
{
public:
    // "NULL" for a NULL DACL; none without SE_DACL_PRESENT.
    explicit HeldObject(const std::string& aces, SECURITY_DESCRIPTOR_CONTROL control = SE_DACL_PRESENT);
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

struct Result
{
    DWORD status;
    std::vector<std::string> failed;
};

// The list is released as callers do.
Result call(const std::string& name, DWORD isAdmin = 0, decltype(setPermissions)* function = &setPermissions);

} // namespace legacy
