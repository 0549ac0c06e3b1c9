// The handles of the service control manager of a node, and the services behind them.
#pragma once

#include "whatif/security/descriptors.h"

namespace whatif {

class World;

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
std::wstring machineServiceOfDisplayName(const std::wstring& displayName); // empty when there is none

// A service belongs to LocalSystem.
Security serviceSecurity(const Service& service);

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

// "a\0b\0\0"; NULL is an empty list.
std::vector<std::wstring> listOf(const wchar_t* names);

// Whether the service's list lets the caller open it, and what the handle can do then. As long as only the machine has
// set that list, the machine decides.
bool mayOpen(const Node& node, const Service& service, DWORD access, DWORD& handle);
bool machineLetsOpen(const std::wstring& name, DWORD access);

// The real machine's service; false when it has none of that name, or does not show it.
bool readMachineService(const std::wstring& name, Service& service);
void readMachineServices(Node& node); // all of them into a node that reads the machine

// What a service is created with, and what the node writes for security without an own text.
extern const wchar_t defaultServiceSecurity[];

} // namespace whatif
