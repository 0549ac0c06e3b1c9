// What the service control manager accepts.
#pragma once

#include "whatif/node.h"

#include <windows.h>

namespace whatif {

// What a caller gives for a service, NULL for nothing. False when a part of it is too long for the protocol between the
// caller and the service control manager; the call then fails with RPC_X_BAD_STUB_DATA.
struct GivenTexts
{
    LPCWSTR binaryPath;
    LPCWSTR loadOrderGroup;
    LPCWSTR dependencies;
    LPCWSTR account;
    LPCWSTR password;
};
bool passes(const GivenTexts& given);

// The account of a service that is given none.
std::wstring defaultAccount(DWORD type);

// Whether the service control manager takes a service as it stands, new or changed: a Win32 error code. Display name
// and account are looked at on their own, and only when they are given.
DWORD checkService(const Node& node, const Service& service);
DWORD checkServiceAccount(const Node& node, const Service& service, bool hasPassword);
bool ignoresPassword(const Node& node, const Service& service); // whatever password comes with it

// Gives the service the next tag of its load-ordering group, without which there are no tags.
DWORD assignTag(const Node& node, Service& service);

} // namespace whatif
