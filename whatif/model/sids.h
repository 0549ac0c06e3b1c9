// SIDs in string form and in binary form, and the ones that follow from a name.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace whatif {

std::wstring sidText(PSID sid);                       // empty for NULL or an invalid one
std::vector<BYTE> sidBytes(const std::wstring& text); // empty when it is none

// Whether `sid` is that of an account of the domain: `domainSid` with exactly one sub-authority more.
bool isOfDomain(const std::wstring& domainSid, const std::wstring& sid);

// "S-1-5-80-..." of a service: five words of the SHA-1 of its upper-cased name.
std::wstring serviceSid(const std::wstring& serviceName);

// "S-1-5-21-..." of a described computer or domain: three words of the same hash, so that a name always has the same
// one.
std::wstring domainSid(const std::wstring& name);

// The relative identifier of a described domain account, likewise.
DWORD domainAccountRid(const std::wstring& name);

} // namespace whatif
