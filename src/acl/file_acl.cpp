#include "acl/file_acl.h"

#include "acl/final_ace_list.h"
#include "acl/generic_rights.h"
#include "acl/object_dacl.h"
#include "acl/vlfs.h"
#include "frame/call.h"
#include "frame/text.h"

DWORD sswseUpdateAclOnFile(sswseErrRec* err, const wchar_t* path, const sswseAclUpdate& update, bool failOnAccessDenied)
{
    return sswseRunFramed(err, __func__, sswsePathArgs{path}, [&](const sswseCall& call) -> DWORD {
        DWORD status = sswseRequireMultibyte(call, path); // an object that no message could name is not touched
        if (status != SSWSE_SUCCESS || sswseIsReservedPath(path))
            return status;

        sswseExistingDacl existing;
        if (update.keepExisting) {
            status = sswseReadDacl(call, path, failOnAccessDenied, existing);
            if (!existing.read)
                return status;
        }
        sswseFinalAces finalAces;
        status = sswseCreateFinalAceList(call.rec, existing.aces, update.newAces, update.newCount, update.keepExisting,
                                         &finalAces);
        if (status == SSWSE_SUCCESS && update.skipUnchanged &&
            sswseIsListOf(existing.aces, finalAces.entries.get(), finalAces.count, sswseFileRights))
            return SSWSE_SUCCESS;
        if (status == SSWSE_SUCCESS)
            status = sswseSetFileSecurity(call.rec, finalAces.entries.get(), finalAces.count, path,
                                          /*useNamedInfo=*/false, /*inheritFromParent=*/false, failOnAccessDenied);
        return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
    });
}
