#include "acl/rewrite_tree.h"

#include "frame/call.h"
#include "frame/kept_message.h"
#include "frame/text.h"

namespace {

struct Progress
{
    const void* context;
    sswseRewrite rewrite;
    sswseKeptMessage failed;
};

sswseWalkAnswer rewriteVisited(const sswseCall& call, void* context, const sswseWalkedObject& object)
{
    auto& progress = *static_cast<Progress*>(context);
    DWORD osError = ERROR_SUCCESS;
    if (progress.rewrite(call, progress.context, object, &osError) == SSWSE_SUCCESS)
        return sswseWalkAnswer::goOn;
    if (sswseIsGone(object, osError))
        return sswseWalkAnswer::gone;
    sswseKeepMessage(call, progress.failed);
    return object.isStart ? sswseWalkAnswer::stop : sswseWalkAnswer::goOn;
}

sswseWalkAnswer keepMissed(const sswseCall& call, void* context, const sswseWalkedObject&, DWORD)
{
    sswseKeepMessage(call, static_cast<Progress*>(context)->failed);
    return sswseWalkAnswer::goOn;
}

} // namespace

DWORD sswseRewriteTree(const sswseCall& call, const wchar_t* path, const void* context, sswseRewrite rewrite)
{
    Progress progress = {context, rewrite, {}};
    sswseWalkStrictly(call, path, {&progress, rewriteVisited, keepMissed});
    sswseLeaveKeptMessage(call, progress.failed);
    return progress.failed.isKept ? SSWSE_FAILURE : SSWSE_SUCCESS;
}

DWORD sswseReadWalked(const sswseCall& call, const sswseWalkedObject& object, sswseExistingDacl& existing,
                      DWORD* osError)
{
    const DWORD status = sswseReadDacl(call, object.path, /*failOnAccessDenied=*/true, existing);
    *osError = existing.osError;
    return status;
}

bool sswseReserveView(const sswseAceList& list, sswseAceView& view)
{
    size_t count = 0;
    for (const AceListNode* node = list.first; node; node = node->next)
        ++count;
    view.entries = owned::allocate<const sswseAce*>((count + 1) * sizeof(const sswseAce*)); // never a block of nothing
    return view.entries != nullptr;
}
