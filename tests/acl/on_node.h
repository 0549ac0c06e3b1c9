// Real files and directories whose security nodes hold. Both nodes have the KES_ groups, and C: of either is the test's
// scratch directory.
#pragma once

#include "tests/acl/held_object.h"
#include "tests/support/node_test.h"

#include <gmock/gmock.h>

#include <map>

namespace acl {

using Objects = std::map<std::wstring, std::wstring>; // SDDL, by the names below C:; "" is C: itself

// Of the root of a tree, and of objects that can be not even read, or not written.
constexpr wchar_t top[] = L"D:P(A;OICI;FR;;;BU)";
constexpr wchar_t unreadable[] = L"O:SYD:P(A;OICI;FA;;;SY)";
constexpr wchar_t unwritable[] = L"O:SYD:P(A;OICI;FR;;;BU)";

constexpr char key[] = "MACHINE\\SOFTWARE\\Kestel"; // which both nodes have

class OnNode : public support::NodeTest
{
protected:
    OnNode();
    ~OnNode() override;

    // SDDL as this platform writes it. Accounts stand in it by short names: svc, mesh, clx, vlm, dbs, and those of DB2
    // with a 2 behind.
    std::wstring sddl(std::wstring text) const;
    void name(const std::wstring& shortName, const std::wstring& sid) { sids_[shortName] = sid; }

    // Makes a file, or a directory where the name ends in a backslash, below C:; answers its path. Any length will do.
    std::string make(const std::wstring& name);
    void make(std::initializer_list<std::wstring> names);

    // Of both nodes, and nothing else; keys by the names below the Kestel key: "\\a".
    void describe(const Objects& files, const Objects& keys = {});

    legacy::Result applyLegacy(const std::wstring& path, DWORD isAdmin, bool second = false);

    Objects written();                                          // since the last call; no object is written twice
    std::string marked(const std::vector<std::wstring>& names); // likewise: "x" for each that is written, else " "

    support::ScratchDirectory scratch;
    const std::wstring root = scratch.path().wstring();
    const std::string narrowRoot = scratch.path().string();

private:
    std::vector<std::wstring> made_;
    Objects sids_;
};

} // namespace acl
