// SIDs in string form and in binary form, and the ones that are made: of services and of new accounts.
#pragma once

#include "whatif/node.h"

namespace whatif {

std::wstring sidText(PSID sid);                                          // empty for NULL or an invalid one
std::vector<BYTE> sidBytes(const std::wstring& text);                    // empty when it is none
bool isPrefixOf(const std::wstring& domainSid, const std::wstring& sid); // exactly one sub-authority more

// S-1-5-80-..., from the SHA-1 of the upper-cased name.
std::wstring serviceSid(const std::wstring& serviceName);

// S-1-5-21-..., always the same for a computer or domain of that name.
std::wstring domainSid(const std::wstring& name);

// The next unused SID for a local account or group of the node.
std::wstring newSid(Node& node);

} // namespace whatif
