"""Documentation of the action plugin of that name."""

DOCUMENTATION = r"""
module: undo
short_description: Take a journal back
description:
  - Takes back what a journal of M(kestel.keswsec.calls) changed, last change first.
  - What somebody else has changed since is left alone. The task fails when something was left or cannot be taken back.
author: Kestel
options:
  own_journal:
    description:
      - Path on the target for a journal of the undo, so that it can be undone.
    type: str
extends_documentation_fragment:
  - kestel.keswsec.keswsec
  - kestel.keswsec.keswsec.journal
"""

EXAMPLES = r"""
- name: Take it all back
  kestel.keswsec.undo:
    journal: C:\kestel\home1.journal
    own_journal: C:\kestel\home1-undone.journal
"""

RETURN = r"""
changes:
  description: The changes of the journal, each as C(kestel.keswsec.calls) returns it, with what became of it.
  returned: when the journal could be read
  type: list
  elements: dict
  contains:
    outcome:
      description: C(back), C(already) so, C(left) as somebody changed it, C(lost) when it cannot be taken back, C(failed).
      type: str
    reason:
      description: Why, when there is something to say.
      type: str
counts:
  description: How many changes have which outcome.
  returned: when the journal could be read
  type: dict
"""
