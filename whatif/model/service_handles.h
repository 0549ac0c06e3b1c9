// The handles of the service control manager of a node, and the services behind them.
#pragma once

#include "whatif/security/descriptors.h"

namespace whatif {

struct ServiceHandle
{
    Node* node;
    std::wstring service; // empty: the manager
    DWORD access;
};

SC_HANDLE openHandle(const ServiceHandle& handle);
bool closeHandle(SC_HANDLE handle);

// What every function on a handle begins with. NULL with the last error set: ERROR_INVALID_HANDLE for a handle of the
// other kind or of none, ERROR_ACCESS_DENIED when it was not opened for `access`.
const ServiceHandle* managerOf(SC_HANDLE handle, DWORD access);
Service* serviceOf(SC_HANDLE handle, DWORD access, Node*& node);

// Also one that is marked for deletion. One of the real machine is copied into the node on the first touch.
Service* findService(Node& node, const std::wstring& name);

// Whether a display name is another service's, as its own name or its display name.
bool isDisplayNameTaken(const Node& node, const std::wstring& displayName, const std::wstring& service);

// A service belongs to LocalSystem.
Security serviceSecurity(const Service& service);

// Whether the service's list lets the caller open it, and what the handle can do then. As long as only the machine has
// set that list, the machine decides.
bool mayOpen(const Node& node, const Service& service, DWORD access, DWORD& handle);

// What a service is created with, and what the node writes for security without an own text.
extern const wchar_t defaultServiceSecurity[];

} // namespace whatif
