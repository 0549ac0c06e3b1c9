// Real files and directories whose security nodes hold. Both nodes have the KES_ groups, and C: of either is the test's
// scratch directory.
#pragma once

#include "tests/acl/legacy_call.h"
#include "tests/support/node_test.h"

#include <gmock/gmock.h>

#include <map>

namespace acl {

using Objects = std::map<std::wstring, std::wstring>; // SDDL, by the names below C:; "" is C: itself

class OnNode : public support::NodeTest
{
protected:
    OnNode();
    ~OnNode() override;

    // SDDL as this platform writes it. Accounts stand in it by short names: svc, mesh, clx, vlm, dbs, and those of DB2
    // with a 2 behind.
    std::wstring sddl(std::wstring text) const;

    // Makes a file, or a directory where the name ends in a backslash, below C:; answers its path. Any length will do.
    std::wstring make(const std::wstring& name);
    // Makes a link to the directory that it lies in, by the host's means: this platform has none.
    void makeLink(const std::wstring& name);

    void describe(const Objects& security); // and nothing else

    DWORD add(unsigned wtype, const std::wstring& path, const std::vector<const char*>& users, int ptype,
              bool inheritable = false);
    legacy::Result applyLegacy(const std::wstring& path, DWORD isAdmin, bool second = false);

    Objects written(); // since the last call; no object is written twice

    support::ScratchDirectory scratch;
    const std::wstring root = scratch.path().wstring();
    sswseErrRec rec = {};

private:
    std::vector<std::wstring> made_;
    std::vector<std::wstring> links_;
    Objects sids_;
};

} // namespace acl
