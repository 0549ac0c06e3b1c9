// The local groups of a node, those of the real machine among them where the node reads it.
#pragma once

#include "whatif/model/names.h"

#include <lm.h>

#include <set>

namespace whatif {

class Packed;
class World;

// A group of BUILTIN or of the node itself, by its plain name.
Group* findGroup(Node& node, const std::wstring& name);

// What every function on an existing group begins with: 0, or the error that it answers.
NET_API_STATUS openGroup(World& world, LPCWSTR server, LPCWSTR name, Node*& node, Group*& group);

// Every group that the node has.
const std::vector<Group>& allGroups(Node& node);

// The node's groups that have the account as a member; with `indirect` also through the groups of its domain.
std::vector<std::wstring> groupsOf(Node& node, const std::wstring& sid, bool indirect);

// Everything that somebody with these SIDs is in, the SIDs themselves included: groups of a domain, in one another, and
// the node's groups that list any of it, in one another.
std::set<std::wstring> withAllGroups(Node& node, std::set<std::wstring> sids);

// Takes an account that is gone out of every group.
void leaveGroups(World& world, Node& node, const std::wstring& sid);

// What current Windows accepts as the name of an account.
bool isAccountName(const wchar_t* name, size_t longest);

// For an account that came with the system, which cannot be deleted.
bool isBuiltIn(const std::wstring& sid);

// A block that NetApiBufferFree releases; NULL for one without records.
NET_API_STATUS handOut(const Packed& block, LPBYTE* buffer);

} // namespace whatif
