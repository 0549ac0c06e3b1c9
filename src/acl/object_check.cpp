#include "acl/object_check.h"

#include "acl/strict_walk.h"
#include "frame/text.h"

namespace {

sswseWalkAnswer goOnUnless(sswseObjectCheck& check, DWORD status)
{
    check.status = status;
    return status == SSWSE_YES ? sswseWalkAnswer::goOn : sswseWalkAnswer::stop;
}

DWORD unreadable(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, DWORD osError)
{
    if (check.isStrict)
        return SSWSE_FAILURE;
    return sswseAddUnreadable(call, check.findings, path, osError);
}

sswseWalkAnswer visitFile(const sswseCall& call, void* context, const sswseWalkedObject& object)
{
    auto& check = *static_cast<sswseObjectCheck*>(context);
    DWORD osError = ERROR_SUCCESS;
    const DWORD status = check.look(call, check, object.path, nullptr, &osError);
    if (osError == ERROR_SUCCESS || object.isStart)
        return goOnUnless(check, status);
    if (sswseIsGone(object, osError)) {
        sswseClearRecord(call.rec);
        return sswseWalkAnswer::gone;
    }
    return goOnUnless(check, unreadable(call, check, object.path, osError));
}

sswseWalkAnswer missedDirectory(const sswseCall& call, void* context, const sswseWalkedObject& directory, DWORD osError)
{
    auto& check = *static_cast<sswseObjectCheck*>(context);
    if (directory.isStart)
        return goOnUnless(check, SSWSE_FAILURE);
    return goOnUnless(check, unreadable(call, check, directory.path, osError));
}

DWORD visitKey(const sswseCall& call, void* context, const wchar_t* path, HKEY key, bool isFirst)
{
    auto& check = *static_cast<sswseObjectCheck*>(context);
    DWORD osError = ERROR_SUCCESS;
    const DWORD status = check.look(call, check, path, key, &osError);
    if (osError == ERROR_SUCCESS || isFirst)
        return status;
    if (sswseIsKeyGone(osError)) {
        sswseClearRecord(call.rec);
        return SSWSE_YES;
    }
    return unreadable(call, check, path, osError);
}

DWORD missedKey(const sswseCall& call, void* context, const wchar_t* path, DWORD osError)
{
    return unreadable(call, *static_cast<sswseObjectCheck*>(context), path, osError);
}

} // namespace

DWORD sswseCheckFiles(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place, bool wholeTree)
{
    const wchar_t* const path = place.path.get();
    DWORD osError = ERROR_SUCCESS;
    if (wholeTree && sswseMayBeDirectory(path))
        sswseWalkStrictly(call, path, {&check, visitFile, missedDirectory});
    else if (!sswseIsReservedPath(path))
        check.status = check.look(call, check, path, nullptr, &osError);
    if (check.status != SSWSE_YES || !place.isMountPoint)
        return check.status;
    owned::Heap<wchar_t> volume;
    const DWORD status = sswseToWide(call, place.volume, volume);
    return status == SSWSE_SUCCESS ? check.look(call, check, volume.get(), nullptr, &osError) : status;
}

DWORD sswseCheckNamedKey(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place)
{
    DWORD osError = ERROR_SUCCESS;
    return check.look(call, check, place.path.get(), nullptr, &osError);
}

DWORD sswseCheckKeys(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place,
                     const sswseKeyName& name)
{
    return sswseWalkKeys(call, place.path.get(), name, {&check, visitKey, missedKey});
}
