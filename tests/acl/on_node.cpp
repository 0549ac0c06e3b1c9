#include "tests/acl/on_node.h"

#include "whatif/description/ini.h"
#include "whatif/model/registry.h"
#include "whatif/security/descriptors.h"

namespace acl {

constexpr wchar_t anyLength[] = L"\\\\?\\";

OnNode::OnNode()
{
    // A tree takes more blocks than there are guarded ones.
    library.redirect("malloc", &malloc);
    library.redirect("calloc", &calloc);
    library.redirect("free", &free);
    for (whatif::Node* const node : {&local, &remote}) {
        const std::wstring number = node == &remote ? L"2" : L"";
        sids_[L"svc" + number] = node == &remote ? remoteSvc : svc;
        for (const auto& [name, shortName] : {std::pair(L"KES_MESH_LISTENERS", L"mesh"),
                                              {L"KES_CLX_USERS", L"clx"},
                                              {L"KES_VLMADMIN", L"vlm"},
                                              {L"KES_DBSVCACCTS", L"dbs"}})
            sids_[shortName + number] = addGroup(*node, name).sid;
        node->drives[L"C"] = root;
        world.registry().createKey(*node, L"SOFTWARE\\Kestel");
    }
}

OnNode::~OnNode()
{
    for (auto path = made_.rbegin(); path != made_.rend(); ++path)
        EXPECT_TRUE(DeleteFileW((anyLength + *path).c_str()) || RemoveDirectoryW((anyLength + *path).c_str()));
}

std::wstring OnNode::sddl(std::wstring text) const
{
    for (const auto& [name, sid] : sids_) {
        const std::wstring entry = L";;;" + name + L')';
        for (size_t at = text.find(entry); at != std::wstring::npos; at = text.find(entry))
            text.replace(at, entry.size(), L";;;" + sid + L')');
    }
    return whatif::textOf(whatif::securityOf(text));
}

std::string OnNode::make(const std::wstring& name)
{
    const bool isDirectory = name.back() == L'\\';
    const std::wstring path = root + L'\\' + name.substr(0, name.size() - isDirectory);
    if (isDirectory)
        EXPECT_TRUE(CreateDirectoryW((anyLength + path).c_str(), nullptr));
    else
        EXPECT_TRUE(
            CloseHandle(CreateFileW((anyLength + path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr)));
    made_.push_back(path);
    return whatif::narrow(path);
}

void OnNode::make(std::initializer_list<std::wstring> names)
{
    for (const std::wstring& name : names)
        make(name);
}

void OnNode::describe(const Objects& files, const Objects& keys)
{
    local.securityBefore = {};
    for (whatif::Node* const node : {&local, &remote}) {
        node->security = {};
        node->security[L"registry HKLM\\SOFTWARE"] = L"D:P(A;;KA;;;SY)"; // passes nothing on
        for (const auto& [name, text] : keys)
            node->security[L"registry HKLM\\SOFTWARE\\Kestel" + name] = sddl(text);
        for (const auto& [name, text] : files)
            node->security[L"file " + (node == &local ? root : L"C:") + (name.empty() ? L"" : L'\\' + name)] =
                sddl(text);
    }
}

legacy::Result OnNode::applyLegacy(const std::wstring& path, DWORD isAdmin, bool second)
{
    return legacy::call(whatif::narrow(path), isAdmin, second ? EXPORT(setPermissions2) : EXPORT(setPermissions));
}

Objects OnNode::written()
{
    const size_t prefix = (L"file " + root + L'\\').size();
    Objects objects;
    for (const whatif::Change& change : world.plan())
        EXPECT_TRUE(
            objects.emplace(change.object.substr(std::min(prefix, change.object.size())), change.after.text).second);
    world.clearPlan();
    return objects;
}

std::string OnNode::marked(const std::vector<std::wstring>& names)
{
    const Objects objects = written();
    std::string marks;
    for (const std::wstring& name : names)
        marks += objects.count(name) ? 'x' : ' ';
    return marks;
}

} // namespace acl
