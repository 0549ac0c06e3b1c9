/*
 * keswsec19.dll: Windows security services of a Kestel home.
 *
 * The functions take the caller's error record first and clear it; on the first failure the record gets a numbered
 * message and the operating system's error, and the function returns a status. Only sswseFreeMemory,
 * sswseFreeArrayofStrings, setPermissions and setPermissions2 take none; sswseFillErrMsg and sswseCheckAccessMask do
 * not clear it. Text arguments and results are multibyte text in the ANSI code page, NUL-terminated. A node name is a
 * machine name; NULL or "" is the local machine.
 *
 * Common to all functions, and not repeated below:
 *  - `err` may be NULL; the message is lost then.
 *  - Status 4 comes with WSE-000012, which names the argument; a NULL output pointer that is not said to be optional
 *    gives it as well.
 *  - WSE-00002 (memory), WSE-00006 and WSE-00007 (text conversion) can come with any status 3.
 *  - Memory given to the caller is released with sswseFreeMemory or sswseFreeArrayofStrings.
 *  - An account "in any spelling" is a name as the system looks it up, or, in upper or lower case: "S-1-..." for a SID,
 *    the only name of an account that is gone; "LocalSystem", alone or behind ".\" or the computer's name and "\";
 *    "NT AUTHORITY\SYSTEM", "NT AUTHORITY\LocalService", "NT AUTHORITY\NetworkService"; ".\name" for an account of the
 *    machine's own, on a domain controller of its domain. Failures are WSE-000014, WSE-000019, WSE-000025, WSE-000037
 *    and WSE-000038.
 *  - Each contract ends with its statuses, by their numbers in the enumeration below.
 *  - The functions may be called from several threads, each call with a record of its own.
 */
#ifndef KESWSEC_H
#define KESWSEC_H

#include <windows.h>
#include <winsvc.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- error record and status codes ----------------------------------------------------------------------------- */

/* Owned by the caller. After a call, an empty `message` means that nothing was reported. */
typedef struct sswseErrRec
{
    char message[512]; /* the message, with the operating system's error line when there is one; always terminated */
    char oserror[100]; /* the operating system's error number in signed decimal, empty when there is none */
} sswseErrRec;

enum
{
    SSWSE_NO = 0,                    /* predicates: no. sswseTraceOn: failure */
    SSWSE_YES = 1,                   /* predicates: yes. sswseTraceOn, sswseTraceOff: success */
    SSWSE_SUCCESS = 2,               /* done */
    SSWSE_FAILURE = 3,               /* failed, the record holds the reason */
    SSWSE_INVALID_ARGUMENT = 4,      /* a required argument is NULL or invalid */
    SSWSE_UNSUPPORTED_HOME_TYPE = 5, /* the home type cannot be read or is not "0", "1" or "2" */
    SSWSE_HOME_NOT_FOUND = 6,        /* the home's registry key or key file cannot be opened */
    SSWSE_ACCOUNT_EXISTS = 9         /* sswseCreateKestelSVCUser: there is an account of that name */
};

/* The message ids of the catalogue: errors WSE-00002 and WSE-00006 to WSE-000068, informational WSE-00001, 3, 4, 5. */
#define SSWSE_ERROR_MESSAGE(number) (0xC0020000UL + (number))
#define SSWSE_INFORMATIONAL_MESSAGE(number) (0x40020000UL + (number))

/*
 * Fills `err` with a message of the catalogue.
 *   err           the record; NULL: nothing is done
 *   messageId     SSWSE_ERROR_MESSAGE(n) or SSWSE_INFORMATIONAL_MESSAGE(n); an unknown id gives a message of one blank
 *   osError       the operating system's error, 0 for none; its number goes to `oserror`, its text behind the message
 *   functionName  the reporting routine, apiName the failed function or ""; neither is part of the text
 *   ...           the inserts %1, %2, %3 of the message, `const char*`, as many as it has
 * A text of more than 511 characters is cut.
 */
void WINAPIV sswseFillErrMsg(sswseErrRec* err, DWORD messageId, DWORD osError, const char* functionName,
                             const char* apiName, ...);

/* ---- tracing ---------------------------------------------------------------------------------------------------- */

/*
 * Receives each trace line as a format and its arguments, printf style, on the thread that runs the traced function:
 * the entry line, the arguments in pieces of up to 128 characters (those that were cut, at 511, in one), findings, the
 * message that is left, the exit line, and the separator "%*******************************\n" with the one argument 0.
 * The separator is no format that every printf accepts: a callback that formats with one of its own compares for it
 * first.
 */
typedef void(__cdecl* sswseTraceCallback)(void* context, const char* format, ...);

/*
 * Switches tracing on for the process. Each call that has arguments to trace then keeps 512 bytes, with their text, for
 * the life of the process.
 *   callback  receives every line; must bear concurrent calls
 *   context   given back as the callback's first argument; not NULL
 *   level     kept, without effect
 * 1: on (when it was on already, the earlier callback stays); 0: `callback` or `context` is NULL, WSE-000012.
 */
DWORD WINAPI sswseTraceOn(sswseErrRec* err, sswseTraceCallback callback, void* context, DWORD level);

/* Switches tracing off. Always 1. A line that another thread is just delivering may still arrive. */
DWORD WINAPI sswseTraceOff(sswseErrRec* err);

/* ---- memory handed to callers ----------------------------------------------------------------------------------- */

/* Releases one block that the library returned (a string, a SID). NULL is allowed. */
void WINAPI sswseFreeMemory(void* pointer);

/* Releases an array of `count` strings, each of which may be NULL, and the array. NULL is allowed. */
void WINAPI sswseFreeArrayofStrings(char** array, size_t count);

/* ---- operating system version ----------------------------------------------------------------------------------- */

/* Windows 6.0, 6.1, 6.2 or later? 1, 0, or 3 with WSE-000045. Read once per process, again after a failure. */
DWORD WINAPI sswseIsOSVistaOrAbove(sswseErrRec* err);
DWORD WINAPI sswseIsOSWin7OrAbove(sswseErrRec* err);
DWORD WINAPI sswseIsOSWin8OrAbove(sswseErrRec* err);

/* Is this machine a domain controller? 1, 0, or 3 with WSE-000045. Read once per process, again after a failure. */
DWORD WINAPI sswseIsOSWinDC(sswseErrRec* err);

/* ---- account names, SIDs and built-in accounts ------------------------------------------------------------------ */

/* The built-in service accounts, as sswseIsNameBuiltinAcc tells them. */
enum
{
    SSWSE_BUILTIN_LOCAL_SYSTEM = 11,   /* S-1-5-18, keyword LOCAL_SYSTEM */
    SSWSE_BUILTIN_LOCAL_SERVICE = 12,  /* S-1-5-19, keyword LOCAL_SERVICE */
    SSWSE_BUILTIN_NETWORK_SERVICE = 13 /* S-1-5-20, keyword NETWORK_SERVICE */
};

/*
 * The SID of an account of this machine, or that this machine can look up.
 *   username  account name as the machine resolves it: "name", "DOMAIN\name"; ".\name" is not one
 *   sid       receives one block of the SID's length, which the caller releases, and NULL with a 3; not touched when
 *             `username` is NULL
 * 2; 3 with WSE-000014; 4. When the account vanishes between the size query and the look-up the answer is still 2, with
 * WSE-000014 in the record and a SID that is not valid: who must be sure looks at the record too.
 */
DWORD WINAPI sswseConvertUnameToSID(sswseErrRec* err, const char* username, PSID* sid);

/*
 * The account of a SID, as "domain\account", in the machine's language.
 *   OSSid   the SID
 *   uname   the buffer, unamel its size in bytes
 *   outlen  receives the space used, three more than the text's length; NULL is allowed
 * 2; 3 with WSE-000034, or WSE-000033 when `unamel` is below the space used; 4, also with WSE-000033 when it is 0.
 */
DWORD WINAPI sswseConvertSIDToUname(sswseErrRec* err, PSID OSSid, char* uname, size_t unamel, size_t* outlen);

/*
 * The SID of the user that runs this process.
 *   sid  receives one block of the SID's length; the caller releases it
 * 2; 3 with WSE-000035, WSE-000036, WSE-000037; 4.
 */
DWORD WINAPI sswseGetOwnerSIDForCurrentProcess(sswseErrRec* err, PSID* sid);

/*
 * The name of a built-in service account in the machine's language, as "domain\account".
 *   accname  LOCAL_SYSTEM, LOCAL_SERVICE or NETWORK_SERVICE, in upper or lower case
 *   buf      the buffer, ilen its size in bytes
 *   outlen   receives the space used, three more than the text's length; NULL is allowed
 * 2; 3 with an empty record when `accname` is another text, else with WSE-000033, WSE-000034, WSE-000038,
 * WSE-000039; 4.
 */
DWORD WINAPI sswseGetBuiltinAccName(sswseErrRec* err, const char* accname, char* buf, size_t ilen, size_t* outlen);

/*
 * Is this the name, in whatever spelling the machine resolves, of a built-in service account?
 *   accname  account name (not a keyword); when it is NULL the status is 3
 *   kind     receives SSWSE_BUILTIN_... with a yes, else 0
 * 1: yes. 3 with an empty record: no. 3 with WSE-000012, WSE-000014, WSE-000038: failure. 4.
 */
DWORD WINAPI sswseIsNameBuiltinAcc(sswseErrRec* err, const char* accname, DWORD* kind);

/* ---- user accounts ---------------------------------------------------------------------------------------------- */

/*
 * While tracing is on, these functions write the passwords they are given to the trace, readable, and they stay in the
 * memory that the trace keeps.
 */

/*
 * Can this user log on over the network with this password?
 *   username  "DOMAIN\user", ".\user" for this machine's own accounts, or "user@domain"; a plain name is handed on as
 *             well, but current systems are not documented to take one. A domain of 512 bytes or more is invalid, of
 *             the user name 511 bytes count
 *   passwd    the password; NULL is handed on as none
 * 2: yes. 3 with WSE-000018: no. 4.
 */
DWORD WINAPI sswseCheckValidUser(sswseErrRec* err, const char* username, const char* passwd);

/*
 * Creates a local user for services: its password never expires, it cannot change it, and it cannot log on
 * interactively.
 *   username  name without domain
 *   password  NULL for none, where the machine's policy allows it
 * 2; 9 with WSE-000023 when the account exists; 3 with WSE-000024, or, the account having been created and left there,
 * WSE-000014, WSE-000025, WSE-000026; 4, also with WSE-000016 for a name with a backslash.
 */
DWORD WINAPI sswseCreateKestelSVCUser(sswseErrRec* err, const char* username, const char* password);

/*
 * Deletes a local user. Its rights stay in the security policy.
 *   username  name without domain
 * 2; 3 with WSE-000027, also when there is no such account; 4, also with WSE-000017 for a name with a backslash.
 */
DWORD WINAPI sswseDeleteKestelSVCUser(sswseErrRec* err, const char* username);

/*
 * Does this password meet the machine's policy?
 *   password  the password
 * 1: yes. 0: no, with WSE-00003 and the policy's verdict (NET_API_STATUS) as the operating system's error. 3 with
 * WSE-000053. 4.
 */
DWORD WINAPI sswseIsPasswordValid(sswseErrRec* err, const char* password);

/*
 * Is this user a member, directly or through other groups, of the built-in Administrators group of this machine?
 *   username  account name; one of a domain as "DOMAIN\user"
 * 1; 0; 3 with WSE-000013, WSE-000014, or WSE-000015, also when only the direct groups may be read and Administrators
 * is not among them, and perhaps for built-in and virtual accounts, whose groups not every system lists; 4. A 1 or 0
 * may come with WSE-000014 when the account vanished during the call.
 */
DWORD WINAPI sswseIsAdministrator(sswseErrRec* err, const char* username);

/*
 * Is this a managed service account, of the standalone or the group kind?
 *   username  account name
 *   nodename  traced only: this machine is asked
 * 1; 0, also when the system has no such accounts, or with WSE-00006; 3 with an empty record when Logoncli.dll cannot
 * be loaded; 4.
 */
DWORD WINAPI sswseIsManagedSVCAccount(sswseErrRec* err, const char* username, const char* nodename);

/*
 * Is this a group managed service account, installed for use on this machine?
 *   cUser  "DOMAIN\account"; without a domain the answer is 0
 *   cNode  traced only: this machine is asked
 * 1, also when the system knows the account as a managed one and does not tell its state; 0, also when the system has
 * no such accounts, or with WSE-000045 or WSE-00006; 3 as from sswseIsManagedSVCAccount; 4.
 */
DWORD WINAPI sswseIsGroupManagedSVCAccount(sswseErrRec* err, const char* cUser, const char* cNode);

/*
 * Is the account of another domain than this computer's own? The accounts of BUILTIN, NT AUTHORITY and NT SERVICE are.
 *   username  account name, with or without its domain
 * 1; 0; 3 with WSE-000014, WSE-000019; 4.
 */
DWORD WINAPI sswseIsUserDomainUser(sswseErrRec* err, const char* username);

/*
 * Is this the name of a user account?
 *   username  account name, with or without its domain
 * 1; 0 when there is no such name, or it is a group's or another kind's; 3 with WSE-000014 for any other failure; 4.
 */
DWORD WINAPI sswseCheckUserExists(sswseErrRec* err, const char* username);

/* ---- privileges ------------------------------------------------------------------------------------------------- */

/*
 * Grant to a user, or take from it, the rights that the user of a home's services needs: SeServiceLogonRight and
 * SeCreateSymbolicLinkPrivilege. They stop at the first right that fails and undo nothing. Granting what is held and
 * revoking what is not held are no failures.
 *   username  account name that the node resolves
 *   nodename  node whose security policy is changed
 *   khtype    home type "0", "1" or "2"
 * 2; 3 with WSE-00008 for another home type, WSE-000014, WSE-000025, WSE-000039, and WSE-000041 (grant) or WSE-000040
 * (revoke); 4.
 */
DWORD WINAPI sswseGrantPrivilegesToUser(sswseErrRec* err, const char* username, const char* nodename,
                                        const char* khtype);
DWORD WINAPI sswseRevokePrivilegesFromUser(sswseErrRec* err, const char* username, const char* nodename,
                                           const char* khtype);

/*
 * Does the user hold these rights on this machine, itself or through its local groups, nested ones included?
 *   username  account name; one of a domain as "DOMAIN\user"
 *   khtype    home type "0", "1" or "2"
 *   missing   receives an array of the names of the rights that are not held, NULL when there are none; the caller
 *             releases it with sswseFreeArrayofStrings
 *   count     receives their number, 0 on failure
 * 1: all are held. 0: some are missing. 3 with WSE-000014, WSE-000015 (perhaps for built-in and virtual accounts, whose
 * groups not every system lists), WSE-000025, WSE-000039, WSE-000043. 4. 5 with WSE-00008 for another home type.
 */
DWORD WINAPI sswseCheckUserPrivileges(sswseErrRec* err, const char* username, const char* khtype, char*** missing,
                                      int* count);

/* ---- local groups ----------------------------------------------------------------------------------------------- */

/*
 * Group names are names of local groups of the node. What is asked for and already so counts as done: creating a group
 * that exists, deleting one that does not, adding a member, removing what is no member.
 */

/*
 * Creates a local group; one that exists is left as it is.
 *   groupname  name of the group
 *   groupdesc  its comment; NULL for none
 *   nodename   node to create it on
 * 2; 3 with WSE-000028; 4.
 */
DWORD WINAPI sswseCreateOSGroup(sswseErrRec* err, const char* groupname, const char* groupdesc, const char* nodename);

/*
 * Is there a local group of this name on the node?
 * 1; 0; 3 with WSE-000030; 4.
 */
DWORD WINAPI sswseCheckOSGroup(sswseErrRec* err, const char* groupname, const char* nodename);

/*
 * Deletes a local group of the node.
 * 2; 3 with WSE-000029; 4.
 */
DWORD WINAPI sswseDeleteOSGroup(sswseErrRec* err, const char* groupname, const char* nodename);

/*
 * Makes an account a member of a local group of the node. A group that is not there is created first, with the comment
 * "KESTEL Group".
 *   username   account name, with or without its domain
 *   groupname  name of the group
 *   nodename   node whose group it is
 * 2; 3 with WSE-000028, WSE-000031; 4.
 */
DWORD WINAPI sswseAddUserToGroup(sswseErrRec* err, const char* username, const char* groupname, const char* nodename);

/*
 * Takes an account out of a local group of the node; arguments as above. A group or an account that is not there is no
 * failure.
 * 2; 3 with WSE-000032; 4.
 */
DWORD WINAPI sswseRemoveUserFromGroup(sswseErrRec* err, const char* username, const char* groupname,
                                      const char* nodename);

/*
 * Is a user a member of a local group of the node? Decided by SID.
 *   username   account name in any spelling that the node resolves; one of a domain needs its domain, as "DOMAIN\user"
 *              for membership through other groups
 *   groupname  plain name of the group
 *   directflg  0: membership through other groups counts; else only direct membership
 *   nodename   node that is asked
 * 1; 0, for a built-in service account also when it is a member through another group; 3 with WSE-000014, WSE-000015;
 * 4, with "username" in its message also for a bad `groupname`: NULL, or with more than one backslash.
 */
DWORD WINAPI sswseCheckUserInGroup(sswseErrRec* err, const char* username, const char* groupname, DWORD directflg,
                                   const char* nodename);

/* ---- home key, home type, home name ----------------------------------------------------------------------------- */

/*
 * A home's configuration lies under HKEY_LOCAL_MACHINE "Software\Kestel\<home key>". The home key is the last part of
 * the registry path on the first line of the home's key file, which is KESTEL.KEY beside this library for the library's
 * own home and bin\kestel.key for the home at a path. A home key that is too long is told like a registry key that
 * cannot be opened, and a path that is too long like a key file that cannot be opened, with 206 as the operating
 * system's error, unless it is said otherwise below.
 */

/*
 * The home key of the library's own home; when its key file cannot be opened, the environment variable KESTEL_HOME_KEY.
 *   khkey   the buffer, khkeyl its size in bytes; a key from the file that does not fit is cut
 *   outlen  receives the text's length without terminator; NULL is allowed
 * 2; 3 with WSE-000046, WSE-000047, with WSE-000052 when the file names no key, or cannot be opened and the variable is
 * not set, with WSE-000033 when the variable's value does not fit, and with an empty record when the key file cannot be
 * read; 4.
 */
DWORD WINAPI sswseGetKestelHomeKey(sswseErrRec* err, char* khkey, size_t khkeyl, size_t* outlen);

/*
 * The type of a home.
 *   khomekey  home key
 *   khtype    the buffer, khtypel its size in bytes: one more than the stored text with its terminator, so 3
 *   outlen    receives the size of the stored text with its terminator; NULL is allowed
 *   nodename  node whose registry is read
 * 2; 3 with WSE-000033, WSE-000044, WSE-000048; 4; 6 with WSE-000010 when the home's key cannot be opened.
 */
DWORD WINAPI sswseGetKestelHomeType(sswseErrRec* err, const char* khomekey, char* khtype, size_t khtypel,
                                    size_t* outlen, const char* nodename);

/*
 * Records the type of a home; the system is asked to write it to disk before the function returns.
 *   khomekey   home key; the home's registry key must exist
 *   khometype  "0", "1" or "2"
 *   nodename   node whose registry is written
 * 2; 3 with WSE-000044, WSE-000049; 4; 5 with WSE-00008 for another type; 6 with WSE-000010.
 */
DWORD WINAPI sswseSetKestelHomeType(sswseErrRec* err, const char* khomekey, const char* khometype,
                                    const char* nodename);

/*
 * Is this text a home type: exactly "0", "1" or "2"? The type decides which account, groups, rights and service SID a
 * service gets when it is made or updated. Services of type "2" run with their service SID and join the home's group of
 * them; of type "1" all run with it that do not run as LocalSystem; of type "0" the listener does, and the monitoring
 * database unless it runs as LocalSystem.
 *   1; 0; 4.
 */
DWORD WINAPI sswseIsKhomeTypeValid(sswseErrRec* err, const char* khometype);

/*
 * The name of the library's own home; when its home key cannot be found, the environment variable KESTEL_HOME_NAME.
 *   khname  the buffer, khnamel its size in bytes: more than the stored text with its terminator
 *   outlen  receives the text's length without terminator; NULL is allowed
 * 2, with the home key's failure in the record when the name is the variable's; 3 with WSE-000033, WSE-000048, and with
 * WSE-000052 when the variable is not set either; 4; 6 with WSE-000010.
 */
DWORD WINAPI sswseGetKestelHomeName(sswseErrRec* err, char* khname, size_t khnamel, size_t* outlen);

/*
 * The type of the home at a path, from the registry key that its key file names.
 *   khomepath  home directory, writable: with a node name the colon behind the drive letter is overwritten with "$", as
 *              the file is then read through the node's administrative share
 *   khtype, khtypel, outlen, nodename  as for sswseGetKestelHomeType
 * 2; 3 with WSE-000033, WSE-000044, WSE-000048, and with WSE-000052 when the key file cannot be read; 4; 6 with
 * WSE-000010, and with WSE-000052 when the key file cannot be opened.
 */
DWORD WINAPI sswseGetKestelHomeTypeForKHPath(sswseErrRec* err, char* khomepath, char* khtype, size_t khtypel,
                                             size_t* outlen, const char* nodename);

/* ---- service user recorded for a home --------------------------------------------------------------------------- */

/*
 * The account that runs the services of a home, recorded under the home's registry key. For a home that is given by its
 * path, `khomepath` or `ckhpath` is its directory on this machine, whose key file is read here even for a node;
 * `nodename` or `cNode` is the node whose registry is read.
 */

/*
 * Records the service user, whether it is a virtual account and whether it needs a password.
 *   uname     account name, of which 511 bytes are recorded, looked up on this machine; LOCAL_SYSTEM and LOCAL_SERVICE
 *             in upper or lower case are recorded by their names in the machine's language; the name of a local group
 *             of the node stands for virtual accounts
 *   nodename  node whose registry is written
 *   khomekey  home key; the home's registry key must exist
 * 2, with WSE-000030 in the record when the node could not tell whether the name is a group, which it is then not taken
 * for; 3 with WSE-000010, WSE-000014, WSE-000033, WSE-000034, WSE-000038, WSE-000039, WSE-000044, WSE-000049,
 * WSE-000053 for a home key that is too long, what was written by then staying; 4; 6 with WSE-000012 when `khomekey` is
 * NULL.
 */
DWORD WINAPI sswseSetUnameForKhome(sswseErrRec* err, const char* uname, const char* nodename, const char* khomekey);

/*
 * The service user of the library's own home.
 *   uname     the buffer, unamel its size in bytes
 *   outlen    receives the text's length with its terminator; NULL is allowed
 *   nodename  node whose registry is read
 * 2; 3 with WSE-000010, WSE-000033, WSE-000044, WSE-000048, WSE-000053 for a home key that is too long, or the message
 * of sswseGetKestelHomeKey; 4.
 */
DWORD WINAPI sswseGetUnameForKhome(sswseErrRec* err, char* uname, size_t unamel, size_t* outlen, const char* nodename);

/*
 * The same for the home at a path.
 * 2; 3 with WSE-000010, WSE-000033, WSE-000044, WSE-000048, WSE-000053 for a home key that is too long, and with
 * WSE-000052 when the key file cannot be opened or read; 4; 6 with WSE-000052 when the key file names no key, and with
 * WSE-000012 when `khomepath` is NULL.
 */
DWORD WINAPI sswseGetUnameForKhomePath(sswseErrRec* err, const char* khomepath, char* uname, size_t unamel,
                                       size_t* outlen, const char* nodename);

/*
 * Is the home's service user a managed service account?
 * As sswseIsManagedSVCAccount; 6 with the message of sswseGetUnameForKhomePath when the user cannot be read.
 */
DWORD WINAPI sswseIsSVCUserMSA(sswseErrRec* err, const char* khomepath, const char* nodename);

/*
 * Is a password needed to make services run as the home's service user?
 * 1; 0; 3 with WSE-000044, WSE-000048 also when that is not recorded, WSE-000052 when the key file cannot be read or
 * names no key; 4; 6 with WSE-000010, and with WSE-000052 when the key file cannot be opened.
 */
DWORD WINAPI sswseIsSVCUserPasswordRequired(sswseErrRec* err, const char* khomepath, const char* nodename);

/*
 * Is the home's service user LocalSystem, or LocalService? The recorded name is looked up on this machine.
 * 1; 0; 3 with WSE-000014, or the message of sswseGetUnameForKhomePath when the user cannot be read; 4.
 */
DWORD WINAPI sswseIsSvcUserLocalSystem(sswseErrRec* err, const char* ckhpath, const char* nodename);
DWORD WINAPI sswseIsSvcUserLocalService(sswseErrRec* err, const char* ckhpath, const char* nodename);

/*
 * Do the home's services run under virtual accounts?
 * 1; 0, also when that is not recorded; 3 with WSE-000010, WSE-000044, WSE-000048, WSE-000053 when the key file cannot
 * be opened or read or its home key is too long; 4; 6 with WSE-000052 when the key file names no key.
 */
DWORD WINAPI sswseIsSvcUserVirtualAccount(sswseErrRec* err, const char* khomepath, const char* nodename);

/*
 * Is the home's service user a group managed service account?
 * As sswseIsGroupManagedSVCAccount; 3 with the message of sswseGetUnameForKhomePath when the user cannot be read.
 */
DWORD WINAPI sswseIsSVCUserGMSA(sswseErrRec* err, const char* ckhpath, const char* cNode);

/* ---- virtual-account group names -------------------------------------------------------------------------------- */

/*
 * The virtual accounts of a home are gathered in the local group "KES_<home name>_SVCACCTS". Letter case counts and is
 * kept.
 */

/*
 * The group name of a home name.
 *   homename   home name
 *   groupname  the buffer, gamel its size in bytes: the home name's length and 14; the text is cut at 511 characters
 *   outlen     receives the text's length without terminator; NULL is allowed
 * 2; 3 with WSE-000033; 4.
 */
DWORD WINAPI sswseGetVAGroupnameForKHomename(sswseErrRec* err, const char* homename, char* groupname, size_t gamel,
                                             size_t* outlen);

/*
 * The home name in a group name, which may have other text before and behind.
 *   groupname  group name of at most 511 characters
 *   homename   the buffer, hnamel its size in bytes
 *   outlen     receives the text's length without terminator
 * 2; 3 with WSE-000033, and with WSE-000053 when the group name is too long; 4, also when `groupname` is no such name.
 */
DWORD WINAPI sswseGetKHomeNameFromVAGroupName(sswseErrRec* err, const char* groupname, char* homename, size_t hnamel,
                                              size_t* outlen);

/* ---- event-log sources ------------------------------------------------------------------------------------------ */

/*
 * Registers a source of the Windows Application event log; one that is registered is overwritten.
 *   SVCAppKey     name of the source
 *   EventMsgFile  path of its message file, stored unexpanded
 *   Types         event types it can write; 0 for errors, warnings and information
 *   nodename      node whose registry is written
 * 2; 3 with WSE-000044, WSE-000049, WSE-000050; 4.
 */
DWORD WINAPI sswseCreateSVCEventRegEntry(sswseErrRec* err, const char* SVCAppKey, const char* EventMsgFile, DWORD Types,
                                         const char* nodename);

/*
 * Removes a source of the Windows Application event log.
 * 2; 3 with WSE-000044, and with WSE-000051 also when there is no such source; 4.
 */
DWORD WINAPI sswseDeleteSVCEventRegEntry(sswseErrRec* err, const char* SVCAppKey, const char* nodename);

/* ---- services --------------------------------------------------------------------------------------------------- */

/*
 * Services of the home that the library is installed in. What a service is given depends on the executable in its
 * binary path, on whether its name begins with "KestelVLMService" or "KestelMONDBService" (in any case), and on the
 * type of the home: the account it runs under (the home's service user, a built-in account, the service's virtual
 * account), whether its SID is unrestricted, its groups and its rights. An executable that the library does not know
 * runs under the home's service user, LocalSystem in a home of type "0", without groups or rights of its own. In a home
 * of virtual accounts every service runs under its own one and joins the group KES_<home name>_SVCACCTS.
 */

/*
 * Creates a service, lets the groups KES_DBA and KES_<home name>_DBA start and stop it, and gives it its groups and
 * rights on the node. Both groups must be known to this machine, for a service of another node as well, or neither is
 * let in.
 *   servicename       name of the service
 *   displayname       NULL: the same
 *   desiredaccess, servicetype, starttype, errorcontrol  as for CreateService; with READ_CONTROL and WRITE_DAC in
 *                     desiredaccess, or the two groups are not let in
 *   binpath           command line of the service; its executable is the text behind the last backslash, even one of an
 *                     argument, up to a blank, with its quotes; ".exe" is added to a text without a dot
 *   loadordergroup    NULL for none
 *   tagid             receives the tag within that group; NULL for none
 *   dependencies      names of services, each with its NUL, an empty one at the end, 5120 characters in all, of which
 *                     Windows itself takes 2048; NULL for none
 *   servicestartname  only for a driver service: the name it starts under, NULL for the default one
 *   password          of the account, used only when it is a user account and not a managed one; NULL for none
 *   nodename          node to create it on
 *   phService         receives the handle, which the caller closes, as soon as the service exists: also when a later
 *                     step fails, the service is not deleted again. NULL until then
 * An account without a domain is one of the node's own.
 * 2; 3 with WSE-000011, WSE-000057, or, the service having been created, the message of the failed step: WSE-000014,
 * WSE-000019, WSE-000025, WSE-000031, WSE-000034, WSE-000041 and others of the home, group and account functions;
 * 4; 5 when the home's type cannot be read, with the reader's message, or is unknown, with WSE-00008; 6 when the home
 * cannot be found, with an empty record when its key file cannot be read. After a 2 the record may hold the message of
 * a step whose failure does not count.
 */
DWORD WINAPI sswseCreateService(sswseErrRec* err, const char* servicename, const char* displayname, DWORD desiredaccess,
                                DWORD servicetype, DWORD starttype, DWORD errorcontrol, const char* binpath,
                                const char* loadordergroup, DWORD* tagid, const char* dependencies,
                                const char* servicestartname, const char* password, const char* nodename,
                                SC_HANDLE* phService);

/*
 * Gives an existing service a new binary path, and decides its account, groups and rights anew as at creation. It
 * leaves no group and loses no right. Not for drivers, for it always gives an account.
 *   nodename     node of the service
 *   servicename  name of the service
 *   username     not used: the home decides
 *   password     as at creation
 *   binpath      new command line of the service
 * 2; 3 with WSE-000011, WSE-000054, WSE-000058, or, the service having been changed, as at creation; 4; 5 with
 * WSE-00008 when the home's type cannot be read, with an empty record when it is unknown; 6 as at creation. The record
 * after a 2 is as at creation.
 */
DWORD WINAPI sswseUpdateService(sswseErrRec* err, const char* nodename, const char* servicename, const char* username,
                                const char* password, const char* binpath);

/*
 * The account that a service runs under, as it is configured: "LocalSystem", ".\user", "DOMAIN\user"; empty for a
 * driver without one.
 *   servicename  name of the service
 *   username     the buffer, usernamel its size in bytes. While tracing is on, a text it already holds is traced
 *   written      receives the length with the terminator; NULL is allowed
 *   nodename     node of the service
 * 2; 3 with WSE-000011, WSE-000054, WSE-000055, WSE-000033; 4.
 */
DWORD WINAPI sswseGetSvcUserForService(sswseErrRec* err, const char* servicename, char* username, size_t usernamel,
                                       size_t* written, const char* nodename);

/*
 * Deletes a service, having taken its SID out of the node's local groups; a group that it cannot be taken out of is
 * passed over. Its rights stay in the security policy.
 *   nodename     node of the service
 *   servicename  name of the service
 * 2, with WSE-000045 in the record when the system's version could not be read, which leaves the groups alone; 3 with
 * WSE-000033, WSE-000034, WSE-000038, WSE-000039 when the name of its SID cannot be had, which leaves the service as it
 * was; 3 with WSE-000011, WSE-000054, WSE-000056; 4.
 */
DWORD WINAPI sswseDeleteService(sswseErrRec* err, const char* nodename, const char* servicename);

/*
 * The account name of a service's own SID: the domain of all service SIDs in this machine's language, "\", the name of
 * the service, which need not exist.
 *   svcname  name of the service
 *   out      the buffer, outlen its size in bytes
 *   written  receives the length without the terminator; NULL is allowed
 * 2; 3 with WSE-000034, WSE-000038, WSE-000039, WSE-000033; 4, also with WSE-000033 when `outlen` is 0.
 */
DWORD WINAPI sswseGetServiceSidName(sswseErrRec* err, const char* svcname, char* out, size_t outlen, size_t* written);

/*
 * A service's own SID.
 *   svcname   name of the service, which must exist on the node
 *   psid      receives one block of the SID's length; the caller releases it. NULL after a failure
 *   nodename  node that looks it up
 * 2; 3 with WSE-000061 on a system without service SIDs, WSE-000014, WSE-000019, WSE-000033, WSE-000034, WSE-000038,
 * WSE-000039, WSE-000045; 4.
 */
DWORD WINAPI sswseGetServiceSID(sswseErrRec* err, const char* svcname, PSID* psid, const char* nodename);

/* ---- services of an account and of a home ----------------------------------------------------------------------- */

/*
 * Common to these functions:
 *  - `username` is an account in any spelling, as the node knows it. Services are compared with it by SID; one that
 *    names no account starts under LocalSystem.
 *  - `khomepath` is the directory of a home, in the node's spelling; "/" counts as "\", backslashes at its end do not
 *    count. NULL is the directory above the one that this library lies in, on a node the same path there.
 *  - A list of names is released with sswseFreeArrayofStrings. It is NULL, and its count 0, when there are none, and
 *    with a 3 or 4 unless said otherwise. Both pointers may be NULL together.
 */

/*
 * The services (no drivers) of a node that start under an account, in the order in which the node lists them. The
 * system does not show services that the caller may not query; services whose account does not exist are nobody's.
 *   username  the account
 *   nodename  node whose services are looked at
 *   services  receives the names, count their number
 * 2, with WSE-000054 or WSE-000055 in the record when a service may not be read, which is not listed then; 3 with
 * WSE-000011, WSE-000054, WSE-000055, WSE-000060, and for an account WSE-000014, WSE-000019, WSE-000025, WSE-000037,
 * WSE-000038; 4.
 */
DWORD WINAPI sswseGetAllServicesForUser(sswseErrRec* err, const char* username, const char* nodename, char*** services,
                                        int* count);

/*
 * Of these, the services of a home: those whose binary path lies in its directory.
 *   khomepath  the home
 *   username   the account; NULL for services of any account, also of one that does not exist
 *   nodename, services, count  as above
 * As above; 3 with WSE-000046, WSE-000047, WSE-000052 when `khomepath` is NULL and the library's home cannot be told.
 */
DWORD WINAPI sswseGetAllServicesInKHForUser(sswseErrRec* err, const char* khomepath, const char* username,
                                            const char* nodename, char*** services, int* count);

/*
 * Give these services the account's new password. It is stored without being tried: ask sswseCheckValidUser first.
 * Services that run use it when they start next. The account's own password is not changed. It is written each time,
 * as nobody can tell which one is stored. All services are tried, each with the account that it started under when they
 * were gathered: one that somebody gives another account meanwhile is given this one back.
 *   username   the account, which must have a password of its own. A managed account is recognised by its name, not by
 *              a SID, and when it is installed on this machine
 *   password   its new password; "" is an empty one
 *   nodename   node of the services
 *   failed     receives, with a 3 for such services, the names of those that did not get it, failcount their number.
 *              One that may not be read is among them, whatever account or home it is of
 * 2, also when there is no such service; 3 with the message of the first service that failed: WSE-000054, WSE-000055,
 * WSE-000058; 3 as from the lists above, without a name in `failed`, nothing having been changed; 4, also with
 * WSE-000063 for a built-in, virtual or managed account, or a service's SID.
 */
DWORD WINAPI sswseChangeServicesPwdForUser(sswseErrRec* err, const char* username, const char* password,
                                           const char* nodename, char*** failed, int* failcount);
DWORD WINAPI sswseChangeServicesPwdInKHForUser(sswseErrRec* err, const char* khomepath, const char* username,
                                               const char* password, const char* nodename, char*** failed,
                                               int* failcount);

/*
 * Is a service configured to run under LocalSystem? A driver is not.
 *   servicename  name of the service
 *   nodename     node of the service
 * 1; 0; 3 with WSE-000011, WSE-000054, WSE-000055, and WSE-000014, WSE-000019, WSE-000025, WSE-000037, WSE-000038 when
 * its account cannot be looked up; 4.
 */
DWORD WINAPI sswseIsSvcRunningAsLocalSystem(sswseErrRec* err, const char* servicename, const char* nodename);

/*
 * Takes the SIDs of services, also of services that exist no longer, out of the local groups that are the home's own:
 * KES_<home name>_SVCSIDS, _SVCACCTS, _DBA, _OPER, _SYSBACKUP, _SYSRPL, _SYSKM. Groups that are not there are passed
 * over.
 *   khomepath  the home; its key file is read through the node's administrative share. NULL: the library's own home, by
 *              its name on this machine
 *   nodename   node whose groups are changed
 * 2; 3 with WSE-000030, WSE-000032, WSE-000037, what was removed before staying so; 4; 3 or 6 with the message of
 * sswseGetKestelHomeTypeForKHPath, or of sswseGetKestelHomeName, when the home's name cannot be read.
 */
DWORD WINAPI sswseDeleteSVCSidsFromKESHomeGroups(sswseErrRec* err, const char* khomepath, const char* nodename);

/*
 * Earlier releases kept the SIDs of the database services in the administrators' group of the machine, KES_DBA; now
 * each home has its own, KES_<home name>_DBA. These move the SIDs of the home's database services, whose executable is
 * "kestel.exe", from the one group to the other and back. A SID that is not in the one stays where it is. The group
 * that they go to is created when it is not there. Each SID joins it before it leaves the other.
 *   khomepath, nodename  as above
 * 2, also when there is nothing to do; 3 with WSE-000011, WSE-000054, WSE-000055, WSE-000060 when the services cannot
 * all be read, which leaves everything as it was; 3 with WSE-000028, WSE-000030, WSE-000031, WSE-000032, WSE-000037, or
 * the message of sswseGetServiceSID, what was moved before staying so; 4; 3 or 6 as above when the home cannot be
 * looked up, 3 also with WSE-000046, WSE-000047, WSE-000052 when `khomepath` is NULL and the library's home cannot be
 * told.
 */
DWORD WINAPI sswseMigrateDBServiceSidsForUpgrade(sswseErrRec* err, const char* khomepath, const char* nodename);
DWORD WINAPI sswseMigrateDBServiceSidsForDowngrade(sswseErrRec* err, const char* khomepath, const char* nodename);

/* ---- access control on objects ---------------------------------------------------------------------------------- */

/*
 * Kinds of object, `wtype`. Files and directories are named by their path, a key as "MACHINE\Software\..." or
 * "\\node\MACHINE\..."; the root of a drive with its backslash, as "C:" alone is the drive's current directory. Names
 * of accounts are looked up on the machine of a UNC path, which "\\?\C:\..." is taken for as well, but for
 * SSWSE_OBJECT_GROUPS on this one. What is called ".VLFS", ".fileid" or ".Security" is the cluster file system's own
 * and left alone, which counts as done; of a `path` that is called so this holds for itself, not for what is below.
 */
enum
{
    SSWSE_OBJECT_FILE = 0,
    SSWSE_OBJECT_DIRECTORY = 1,
    SSWSE_OBJECT_KEY = 2,
    SSWSE_OBJECT_GROUPS = 3 /* a file or directory for SSWSE_ACCESS_GROUPS */
};

/*
 * Permission types, `ptype`: who gets access, in the order of the entries; each full control but where it says
 * otherwise. "Readers" are the authenticated users, to read and execute.
 */
enum
{
    /* for directories */
    SSWSE_ACCESS_READABLE = 0,      /* administrators, local system, readers, users */
    SSWSE_ACCESS_PRIVATE = 1,       /* administrators, local system, users */
    SSWSE_ACCESS_READABLE_2 = 2,    /* as 0 */
    SSWSE_ACCESS_PRIVATE_3 = 3,     /* as 1 */
    SSWSE_ACCESS_MESH_READABLE = 4, /* administrators, local system, KES_MESH_LISTENERS, readers, users */
    SSWSE_ACCESS_MESH_CLX = 5,      /* administrators, local system, KES_MESH_LISTENERS, KES_CLX_USERS, users */
    /* for files and directories */
    SSWSE_ACCESS_FILES = 6, /* administrators, local system, users */
    /* for SSWSE_OBJECT_GROUPS; users are ignored */
    SSWSE_ACCESS_GROUPS = 7, /* administrators, local system, KES_VLMADMIN, KES_DBSVCACCTS */
    /* for keys */
    SSWSE_ACCESS_KEY = 8,       /* administrators, everyone to read and create links; users are ignored */
    SSWSE_ACCESS_KEY_USERS = 9, /* the same and users */
    /* for files and directories */
    SSWSE_ACCESS_READ_ONLY = 10 /* users, to read and execute, and nobody else: administrators and system neither */
};

/*
 * Gives users, and the accounts that the permission type calls for, access to an object. The entries are inheritable
 * and come before the entries that a file or directory keeps; what it had for the same accounts goes, and the marks of
 * a protected or an inheriting DACL are lost. A registry key keeps none of its own entries: it gets the new ones and,
 * unless it was protected, which it stays, behind them those that it inherits. Its subkeys inherit the new ones.
 *   wtype        SSWSE_OBJECT_...
 *   path         the object
 *   usernames    the users; NULL when there are none or `ptype` ignores them
 *   numusers     their number
 *   ptype        SSWSE_ACCESS_...
 *   inheritable  not 0: everything below a directory as well (not for permission type 7; without meaning for keys,
 *                whose subkeys inherit what is written to a key); links are followed. Skipped are children without
 *                access, those with a name that is left alone and all that is in them, what is in a directory whose
 *                path is longer than 257 characters, and, without a message, what is in a directory that cannot be
 *                listed. A child whose path is longer than 259 ends the walk with 3, unless the process has long paths
 *                enabled
 * 2: done. The record may hold the message of a skipped child (operating system's error 206 for one whose path is too
 *    long), or of a file that ended the walk early.
 * 3: WSE-000014, WSE-000038, WSE-000039 (an account); WSE-000012 or a message of one blank (a mount point that cannot
 *    be read); WSE-000053 (an object's security cannot be read or written); WSE-000067 (a key's cannot be written);
 *    without a message when there is nobody to give access to. What was written before stays.
 * 4: WSE-000063, `wtype` and `ptype` do not go together; "path"; "usernames" also for a name that is NULL or a count
 *    below 0.
 */
DWORD WINAPI sswseAddACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                        int numusers, int ptype, unsigned char inheritable);

/*
 * Gives users, and the accounts that the permission type calls for, access to an object that nobody else is to have: as
 * sswseAddACLOnObjectForUser, but files and directories lose the entries they had, and a key loses its own, inherits
 * nothing any more and stays so (its DACL is protected). A file's DACL is not protected: when somebody changes a
 * directory above later and has the system pass that on, entries from there come to it. SSWSE_ACCESS_READ_ONLY shuts
 * administrators and the system out. With `inheritable` each directory is listed after it has got its entries: a caller
 * whom these do not let list it changes that directory and nothing below, which is 2 without a message.
 * The parameters and the statuses are those of that one, but users may be given in any spelling, and:
 * 4: "usernames" whatever `ptype`, and for SSWSE_ACCESS_READ_ONLY without users, which would let nobody in.
 */
DWORD WINAPI sswseSetACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                        int numusers, int ptype, unsigned char inheritable);

/*
 * Add or set access as sswseAddACLOnObjectForUser and sswseSetACLOnObjectForUser do, with an install user, and leaving
 * some paths alone. Users and the install user may be given in any spelling.
 *   installuser  gets full control whatever the permission type, in an entry before the users'; NULL or "": none
 *   excludelist  paths that are left alone with everything below them, absolute or relative to `path`. "/" counts as
 *                "\"; they are compared by whole components, without regard to case and to trailing backslashes, as
 *                they are spelled: "\\SRV\C$\dir" is not "C:\dir" nor what a relative `path` leads to. A path elsewhere
 *                has no effect; with `path` itself or a directory above it nothing is done, which is 2, once all
 *                accounts are known. NULL when there are none
 *   numexclude   their number
 * The statuses are those of these two, and:
 * 4: "excludelist" for a negative count, a NULL list or entry, a path that is empty, begins with a single backslash or
 *    with a drive and no backslash ("C:dir"), or has a component "." or ".."; WSE-000063 for excluded paths with a key;
 *    "usernames" also whatever `ptype`, and for SSWSE_ACCESS_READ_ONLY with neither users nor an install user.
 */
DWORD WINAPI sswseAddACLOnObjectForUser2(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                         int numusers, int ptype, unsigned char inheritable, const char* installuser,
                                         char** excludelist, int numexclude);
DWORD WINAPI sswseSetACLOnObjectForUser2(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                         int numusers, int ptype, unsigned char inheritable, const char* installuser,
                                         char** excludelist, int numexclude);

/*
 * Takes from accounts what an object allows them, in plain and in conditional entries. What denies them something
 * stays, as do the other entries, in order; an object that does not allow them anything, or has no list of entries, is
 * not written.
 *   wtype        SSWSE_OBJECT_...
 *   path         the object. From a file or directory inherited entries go as well; from a key its own go, and its
 *                subkeys lose what they inherited from those
 *   usernames    the accounts, in any spelling, numusers their number
 *   inheritable  not 0: from everything below a directory as well. A child that cannot be read or written does not stop
 *                the walk, mount points and symbolic links below `path` are not followed. A directory that cannot be
 *                listed, as one whose path is longer than 257 characters, loses its own entries
 * An object stays as protected from inheritance as it was.
 * 2: done. With WSE-00004, "PATH still inherits NAME.", when a key above gives the first of these accounts access.
 * 3: an account that cannot be had; WSE-000012 or a message of one blank (a mount point that cannot be read);
 *    WSE-000053 (an object's security cannot be read or written) or WSE-000065 (a directory cannot be listed), the
 *    first of these with everything else below `path` done, unless it is `path` itself; WSE-000066, WSE-000067 (a key's
 *    cannot be read or written).
 * 4: WSE-000064 for another `wtype`; "path"; "usernames" for a list without names, a NULL one or a NULL name.
 */
DWORD WINAPI sswseRevokeACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                           int numusers, unsigned char inheritable);

/*
 * Gives full control to the group of the service SIDs of the library's own home, "KES_<home name>_SVCSIDS", which must
 * exist on the machine of the object. An object that is already as it shall be is not written.
 *   wtype        SSWSE_OBJECT_FILE, SSWSE_OBJECT_DIRECTORY or SSWSE_OBJECT_KEY
 *   path         the object. A file or directory gets the entry as from sswseAddACLOnObjectForUser; a key gets it
 *                before its other entries, which stay, as does its protection. A key without a DACL, which lets
 *                everybody in, is left alone
 *   inheritable  not 0: everything below a directory as well, as sswseAddACLOnObjectForUser does
 * 2, with a message as there; 3 with WSE-000014, WSE-000053, WSE-000066, WSE-000067, those of a mount point, or, as for
 * sswseGetKestelHomeName, WSE-000033, WSE-000048, WSE-000052; 6 as for that one; 4: WSE-000064 for another `wtype`;
 * "path".
 */
DWORD WINAPI sswseAddFullPermForSVCSIDSGroup(sswseErrRec* err, unsigned wtype, const char* path,
                                             unsigned char inheritable);

/*
 * Gives everything below a directory the directory's DACL, entry by entry as they stand: this is a copy and not
 * inheritance. Entries for "this folder only" spread too, inherited ones stay marked as inherited, and children that
 * were protected lose their own entries (and stay protected). A child that has exactly these entries is not written.
 *   path  the directory. Its children are walked as sswseRevokeACLOnObjectForUser does. Of a link it is the link's DACL
 *         that the children of its target get
 * 2; 3: WSE-000053 (security that cannot be read or written) or WSE-000065 (a directory cannot be listed), the first of
 * these with the other children done, unless it is `path` itself; WSE-000066 with the operating system's error 1350,
 * and nothing done, when the directory has no DACL to copy; 4: "path"; WSE-000063 when it is not a directory.
 */
DWORD WINAPI sswseCopyPermissionsFromParentToChildren(sswseErrRec* err, const char* path);

/*
 * Does an object hold what sswseAddACLOnObjectForUser with the same arguments gives? Asked of its DACL alone: for each
 * account that the permission type calls for, and each user, the allow entries of that very account together must have
 * every bit of the mask, inherited ones included and those that are only there to be inherited not, and no deny entry
 * of it may take one before. Inheritance flags are not compared; groups that an account is in do not count.
 *   wtype, path, ptype  as there
 *   usernames    the users, in any spelling, here and in the two below
 *   numusers     their number; not 0 with SSWSE_ACCESS_READ_ONLY
 *   inheritable  not 0: everything below a directory as well, but what is behind mount points and symbolic links
 * 1; 0 with WSE-00004, the path of the first object that falls short and "does not grant NAME 0xMASK", "denies NAME
 * 0xMASK" (the bits that are denied) or "has no access-control list"; NAME is as given, a group's, or a SID; 3 with
 * WSE-000053 (files) or WSE-000066 (keys) when an object cannot be read, WSE-000065 when a directory cannot be listed,
 * as one whose path is longer than 257 characters, WSE-000012 or a message of one blank (a mount point that cannot be
 * read), and those of accounts; 4: "path", "usernames" also for a NULL list or name, WSE-000063.
 */
DWORD WINAPI sswseCheckACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                          int numusers, int ptype, unsigned char inheritable);

/*
 * The same question for a registry key and every key below it; links to other keys are not followed.
 *   path      the key; on this machine below MACHINE, USERS, CLASSES_ROOT or CURRENT_USER, on a node below MACHINE or
 *             USERS
 *   usernames, numusers  as above
 *   ptype     SSWSE_ACCESS_KEY or SSWSE_ACCESS_KEY_USERS
 *   findings  receives what falls short, "PATH FINDING", with the findings above and "cannot be read (N)", N the
 *             operating system's error, for a key below `path`; released with sswseFreeArrayofStrings. NULL without
 *             any, and with every answer but 0
 *   count     receives their number. Both may be NULL: then the first finding ends the check
 * 1; 0 with the first finding as WSE-00004; 3 with WSE-000010, WSE-000044, WSE-000053, WSE-000066, and for the accounts
 * as above; 4: "path", "usernames", "findings", "count", WSE-000063, "Registry Path" for another root.
 */
DWORD WINAPI sswseCheckACLsOnReg(sswseErrRec* err, const char* path, char** usernames, int numusers, int ptype,
                                 char*** findings, int* count);

/*
 * Can users really do this with an object, their groups and entries that deny them included? Judged by the platform's
 * authorization interface, by each object's owner, group and DACL. What does not count: privileges; the permissions of
 * a share; the SID of a service in the context of the account that it runs under; groups that this machine does not
 * know, and what depends on how somebody logs on. Groups are those of this machine also for an object of another one,
 * whose own users, as this machine does not know them, cannot be judged (3).
 *   wtype        as above
 *   path         as above
 *   usernames    user accounts, not groups. The SID of a service, LocalSystem, LocalService and
 *                NetworkService count as members of Everyone, Authenticated Users, Users, SERVICE, "ALL SERVICES" (a
 *                service), Administrators (LocalSystem), and the local groups of this machine that list any of these
 *   numusers     their number, not 0
 *   mask         the rights, generic ones as well; neither ACCESS_SYSTEM_SECURITY nor MAXIMUM_ALLOWED
 *   inheritable  not 0: everything below a directory, but what is behind links, or below a key, where a link to another
 *                key is judged as that key
 *   findings     as above, "PATH allows NAME 0xGRANTED of 0xMASK", with MASK in the rights of the object's kind
 *   count        as above
 * 1; 0 with the first finding as WSE-00004; 3 with WSE-000066 (the object itself cannot be read), WSE-000065, or for
 * keys WSE-000010, WSE-000044, WSE-000053; WSE-000053 naming the failed function of the authorization or of the local
 * groups; for the accounts and the mount point as above, WSE-000034; 4: WSE-000064 for an unknown `wtype`, "path",
 * "usernames", "mask", "findings", "count", "Registry Path" as above, WSE-000063 "Not a user account".
 */
DWORD WINAPI sswseCheckACLsOnObject(sswseErrRec* err, unsigned wtype, const char* path, char** usernames, int numusers,
                                    DWORD mask, unsigned char inheritable, char*** findings, int* count);

/*
 * Merges one explicit entry into an ACL, by the platform's rules for explicit entries.
 *   pszTrustee      the account's SID (a PSID in spite of the name)
 *   TrusteeType     TRUSTEE_TYPE, dwAccessRights the access mask, AccessMode ACCESS_MODE, dwInheritance ACE flags
 *   acl             in: the ACL, from LocalAlloc; a NULL one is an empty one. out: the new ACL, which the caller
 *                   releases with LocalFree; the old one is released
 * 2; 3: WSE-000059, `*acl` is what it was. The operating system's error there is 1336 for an ACL and 1337 for a SID
 * that is not valid; else the thread's last one, which the platform need not have set: it may be missing, or an older
 * one.
 */
DWORD WINAPI sswseAddAceToACL(sswseErrRec* err, void* pszTrustee, int TrusteeType, DWORD dwAccessRights, int AccessMode,
                              DWORD dwInheritance, PACL* acl);

/*
 * Gives an account access to an open kernel object: an event, mutex, semaphore, section, process, thread or pipe. The
 * entry is put among those that the object has, by the platform's rules for granting: what they denied the account of
 * these rights they do not deny any more. Nothing is written when one of them grants all of the rights already and none
 * denies the account any, nor to an object without an access-control list: it lets everybody in, and the entry would
 * shut the others out.
 *   object      a handle with READ_CONTROL and WRITE_DAC, which stays open. The pseudo handle of this process is
 *               refused: duplicate it
 *   username    the account, in any spelling, as this machine knows it
 *   accessmask  the rights, not 0. With a generic right among them the entry is always written; those of entries that
 *               are there are not looked into
 * 2; 3: a message of the account, WSE-000066, WSE-000059, WSE-000067, and the object is what it was; 4.
 */
DWORD WINAPI sswseAddACEOnKernelObjectForUserOrGroup(sswseErrRec* err, HANDLE object, const char* username,
                                                     DWORD accessmask);

/*
 * Gives an account access to what is created under a token from now on without security of its own, as
 * sswseAddACEOnKernelObjectForUserOrGroup does to one object: with this process's token, so that the home's services
 * can open what this process creates. Threads and child processes are created so too: whoever has all access to them
 * has the rights of their user. Never give all access to an account with fewer rights than this process has; where the
 * objects are known, sswseAddACEOnKernelObjectForUserOrGroup is the better choice.
 *   token       a handle with TOKEN_QUERY and TOKEN_ADJUST_DEFAULT, which stays open; NULL: this process's token
 *   username    the account, in any spelling; NULL or "": the service user recorded for the home that the library is
 *               installed in, with virtual accounts the group of the home
 *   accessmask  the rights, not 0
 * 2, also for a token without a default list, which is left alone; 3: WSE-000035 (this process's token), a message of
 * the account or, without `username`, of sswseGetUnameForKhome, WSE-000036, WSE-000059, WSE-000053 (operating system's
 * error 1344: the token has no room for the list), and the token is what it was; 4.
 */
DWORD WINAPI sswseAddACEOnDefaultDACLForSvcUser(sswseErrRec* err, HANDLE token, const char* username, DWORD accessmask);

/*
 * Splits the name of a registry key, "MACHINE\Software\..." or "\\node\MACHINE\...".
 *   path    the name
 *   root    receives the predefined key for MACHINE, CONFIG, CLASSES_ROOT, USERS, CURRENT_USER or PERFORMANCE_DATA, in
 *           any case; stays as it is for any other root name
 *   subkey  receives a pointer into `path`, behind the backslash that ends the root name
 *   node    room for 260 characters; receives the node with its leading backslashes, not written when there is none
 * 2; 4: "Registry Path" when `path` is NULL, a backslash is missing, or the node or the root name is too long.
 */
DWORD WINAPI sswseGetPredefKey(sswseErrRec* err, const wchar_t* path, HKEY* root, wchar_t** subkey, wchar_t* node);

/* A list of entries taken from a DACL. */
typedef struct AceListNode
{
    void* ace; /* the entry: its mask is behind the 4-byte header */
    PSID sid;  /* the entry's SID */
    struct AceListNode* next;
} AceListNode;

/*
 * Does the first entry of `sid` in the list have all bits of `mask`? Whether it allows or denies is not looked at, and
 * later entries of that SID do not count.
 *   reserved  ignored
 *   list      may be NULL, as may any entry and SID in it; those are passed over
 * 1, 0 (also without an entry of that SID), 3: WSE-000039, `sid` is not valid.
 * The record is not cleared.
 */
DWORD WINAPI sswseCheckAccessMask(sswseErrRec* err, void* reserved, AceListNode* list, PSID sid, DWORD mask);

/*
 * The older way of securing an installed file, or a directory with everything below it (links are followed): replaces
 * the DACL of each object by inheritable allow entries for Authenticated Users (read and execute), Administrators and
 * LocalSystem (full). An account to which the old DACL allowed something gets no more than that; what the old DACL
 * denied an account it does not get; one that the old DACL does not mention, and each where there was no DACL, gets its
 * entry unlimited. An entry of which nothing is left is not written. Neither function has an error record; messages
 * reach only the trace. The two differ in the names of some routines in the trace.
 *   wFilename  the file or directory
 *   isAdmin    1: without Authenticated Users; any other value: with them
 *   failList   receives the names of the objects that could not be changed, in the order in which they failed, in the
 *              OEM code page, "" for a name that it cannot hold; else NULL. The caller frees each name and the array,
 *              sswseFreeArrayofStrings does both
 *   failCount  receives the number of names; may be NULL
 * The statuses are these functions' own. 0: all objects were changed, or none on a system that is not of the NT family;
 * 1: the file or directory does not exist in a directory that does; 2: memory is exhausted, the work stopped half way
 * or only the list could not be made, there is none; 3: the objects in the list were not changed, or, without a list,
 * `wFilename` is NULL, cannot be converted or its attributes cannot be read, as when a directory on the way is missing;
 * 4: `failList` is NULL. In the list is also what has a path of more than 259 characters, and a directory of more than
 * 257, unless `wFilename` begins with "\\?\" or the process has long paths enabled.
 */
DWORD WINAPI setPermissions(const char* wFilename, DWORD isAdmin, char*** failList, DWORD* failCount);
DWORD WINAPI setPermissions2(const char* wFilename, DWORD isAdmin, char*** failList, DWORD* failCount);

#ifdef __cplusplus
}
#endif

#endif
