// The DACL of a directory copied to everything below it.
#include "acl/generic_rights.h"
#include "acl/rewrite_tree.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

DWORD copyTo(const sswseCall& call, const void* context, const sswseWalkedObject& object, DWORD* osError)
{
    if (object.isStart)
        return SSWSE_SUCCESS;
    const auto& wanted = *static_cast<const sswseAceView*>(context);
    sswseExistingDacl existing;
    const DWORD status = sswseReadWalked(call, object, existing, osError);
    if (status != SSWSE_SUCCESS)
        return status;
    if (existing.hasList && sswseIsListOf(existing.aces, wanted.entries.get(), wanted.count, sswseFileRights))
        return SSWSE_SUCCESS;
    return sswseRewriteDacl(call, object.path, wanted.entries.get(), wanted.count, existing, osError);
}

DWORD copyToChildren(const sswseCall& call, const wchar_t* path)
{
    if (!sswseMayBeDirectory(path)) {
        sswseReport(call, WSE_INVALID_INPUT, 0, "", "Not a directory");
        return SSWSE_INVALID_ARGUMENT;
    }
    sswseExistingDacl own;
    DWORD osError = ERROR_SUCCESS;
    const DWORD status = sswseReadWalked(call, {path, true}, own, &osError);
    if (status != SSWSE_SUCCESS)
        return status;
    if (!own.hasList)
        return sswseFail(call, WSE_GET_SECURITY, ERROR_NO_SECURITY_ON_OBJECT, "GetSecurityDescriptorDacl");
    sswseAceView entries;
    if (!sswseReserveView(own.aces, entries))
        return sswseOutOfMemory(call);
    for (const AceListNode* node = own.aces.first; node; node = node->next)
        entries.entries.get()[entries.count++] = static_cast<const sswseAce*>(node->ace);
    return sswseRewriteTree(call, path, &entries, copyTo);
}

} // namespace

DWORD WINAPI sswseCopyPermissionsFromParentToChildren(sswseErrRec* err, const char* path)
{
    return sswseRunFramed(err, __func__, sswseArgs("path=%s", path), [&](const sswseCall& call) -> DWORD {
        if (!path)
            return sswseBadArgument(call, "path");
        owned::Heap<wchar_t> widePath;
        const DWORD status = sswseToWide(call, path, widePath);
        return status == SSWSE_SUCCESS ? copyToChildren(call, widePath.get()) : status;
    });
}
