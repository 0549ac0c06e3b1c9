// Access-control entries as text, one "(...)" each: SDDL, and for what SDDL does not speak of
//   (OA;..) (OD;..) (T9;..)  an object entry or an entry of type 9 in the layout of "(A;..)"
//   (#0011223344..)          an entry's bytes
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace acetext {

using Ace = std::vector<BYTE>;

std::vector<Ace> acesOf(const std::string& text);
std::vector<Ace> acesOf(const ACL* acl); // none for NULL

// To compare and to show: "(#<bytes of the header and of the mask> <SID>)" each.
std::string textOf(const std::vector<Ace>& aces);
std::string canonical(const std::string& text);

std::vector<BYTE> aclOf(const std::string& text);

// Pointers to the entries, as the library takes them.
std::vector<ACCESS_ALLOWED_ACE*> pointersTo(std::vector<Ace>& aces);

} // namespace acetext
