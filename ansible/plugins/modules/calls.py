"""Documentation of the action plugin of that name."""

DOCUMENTATION = r"""
module: calls
short_description: Call functions of keswsec19.dll
description:
  - Calls security functions of a Kestel home on a Windows server, one after the other, and stops at the first that fails.
  - The calls are sent in a temporary file of the connection's user, which is removed whatever happens.
  - Passwords are in no command line, no output and no returned value.
author: Kestel
options:
  calls:
    description:
      - The calls, each a function's name with its arguments, both as C(keswsec --list) shows them.
      - A list as an argument repeats the argument, null leaves it out.
      - A name that begins with C(- ) may fail, or answer no, without ending the task.
      - One of I(calls) and I(script) is needed.
    type: list
    elements: dict
  script:
    description:
      - The calls as a script of C(keswsec.exe), one on a line, where C(-) before a call lets it fail.
    type: str
  journal:
    description:
      - Path on the target of a journal that what was changed is appended to, for M(kestel.keswsec.verify) and M(kestel.keswsec.undo).
      - Without it, and without I(node), a temporary one tells what was changed. A call on another server, by its own
        node name, cannot be in a journal and is refused then.
    type: str
extends_documentation_fragment:
  - kestel.keswsec.keswsec
attributes:
  check_mode:
    description: Shows what the calls would change, C(keswsec --what-if).
    support: full
  diff_mode:
    description: Shows each change, before and after.
    support: full
  platform:
    description: Windows, over any connection, and whatever runs C(keswsec.exe) over the local one.
    platforms: windows
"""

EXAMPLES = r"""
- name: Create the groups of a home
  kestel.keswsec.calls:
    calls:
      - CreateOSGroup: {groupname: KES_DBA, groupdesc: Kestel administrators}
      - AddUserToGroup: {groupname: KES_DBA, username: EXAMPLE\dba}

- name: Create the user of its services, unless it exists
  kestel.keswsec.calls:
    calls:
      - "- CreateKestelSVCUser": {username: kessvc, password: "{{ kestel_service_password }}"}
      - ConvertUnameToSID: {username: kessvc}

- name: Secure its directory for two users
  kestel.keswsec.calls:
    home: C:\kestel\home1
    calls:
      - AddACLOnObjectForUser:
          wtype: 1
          path: C:\kestel\home1
          usernames: [kessvc, KES_DBA]
          ptype: 1
          inheritable: true

- name: Rehearse a script on a described node
  kestel.keswsec.calls:
    node: C:\rehearsal\server.ini
    script: "{{ lookup('file', 'create-home.txt') }}"
"""

RETURN = r"""
calls:
  description: The calls that were made, in their order; the last one failed if the task did.
  returned: always, once the calls have been sent
  type: list
  elements: dict
  contains:
    function:
      description: Name of the function.
      type: str
    arguments:
      description: The arguments as they were given, passwords hidden.
      type: dict
    status:
      description: What the function returned.
      type: int
    meaning:
      description: The status in words.
      type: str
    outputs:
      description: What the function gave back, by the names of its parameters.
      type: dict
    message:
      description: The message in the error record, empty when there is none.
      type: str
    oserror:
      description: The operating system's error, empty when there is none.
      type: str
    changes:
      description: What the call changed, in order, or would change in check mode.
      type: list
      elements: dict
      contains:
        kind:
          description: Kind of the change, such as C(group) or C(member).
          type: str
        node:
          description: Computer name.
          type: str
        object:
          description: What was changed.
          type: str
        attribute:
          description: What of it.
          type: str
        action:
          description: What happened, in words.
          type: str
        before:
          description: What was there before, null for nothing.
          type: raw
        outcome:
          description: With a journal, whether it is there afterwards; C(same), C(different), C(unknown) or C(unseen).
          type: str
        expected:
          description: What should be there, when that is not what is.
          type: raw
        found:
          description: What is there instead.
          type: raw
        after:
          description: What is there now, null for nothing.
          type: raw
"""
