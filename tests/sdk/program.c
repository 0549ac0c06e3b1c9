/* A user of the SDK: an answer, a record and memory of the library. */
#include <keswsec.h>

#include <stdio.h>

int main(void)
{
    sswseErrRec err;
    PSID sid = NULL;
    if (sswseIsKhomeTypeValid(&err, "3") != SSWSE_NO || sswseGetOwnerSIDForCurrentProcess(&err, &sid) != SSWSE_SUCCESS)
        return 1;
    sswseFreeMemory(sid);
    printf("%lu %s", (unsigned long)sswseCreateOSGroup(&err, NULL, NULL, NULL), err.message);
    return 0;
}
