"""Options of all modules of the collection."""


class ModuleDocFragment:
    DOCUMENTATION = r"""
options:
  executable:
    description:
      - Path of C(keswsec.exe) on the target.
      - A list when it needs a prefix, as in C([wine, /opt/kestel/keswsec.exe]).
    type: raw
    default: C:\Program Files\Kestel\keswsec.exe
  home:
    description:
      - Directory of the home whose C(bin\keswsec19.dll) is called.
      - Without it the library beside C(keswsec.exe) is.
    type: str
  node:
    description:
      - File on the target that describes a node, for rehearsals.
      - The node is acted on instead of the target and, outside check mode, written back to the file.
    type: str
"""
    JOURNAL = r"""
options:
  journal:
    description:
      - Path of the journal on the target.
    type: str
    required: true
  force:
    description:
      - Take a journal of another machine.
    type: bool
    default: false
attributes:
  check_mode:
    description: Nothing is written.
    support: full
  diff_mode:
    description: Shows each change that is told, before and after.
    support: full
  platform:
    description: Windows, over any connection, and whatever runs C(keswsec.exe) over the local one.
    platforms: windows
"""
