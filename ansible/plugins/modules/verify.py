"""Documentation of the action plugin of that name."""

DOCUMENTATION = r"""
module: verify
short_description: Compare a server with what a journal left
description:
  - Looks up everything that a journal of M(kestel.keswsec.calls) changed, and fails when something is no longer as it was left.
  - Nothing is written.
author: Kestel
extends_documentation_fragment:
  - kestel.keswsec.keswsec
  - kestel.keswsec.keswsec.journal
"""

EXAMPLES = r"""
- name: Is the home still as we left it?
  kestel.keswsec.verify:
    journal: C:\kestel\home1.journal
"""

RETURN = r"""
changes:
  description: The changes of the journal, each as C(kestel.keswsec.calls) returns it, with what became of it.
  returned: when the journal could be read
  type: list
  elements: dict
  contains:
    outcome:
      description: C(same), C(different) from what was left, C(unknown) when it cannot be read, C(unseen) when nobody can look it up.
      type: str
    reason:
      description: Why, when there is something to say.
      type: str
counts:
  description: How many changes have which outcome.
  returned: when the journal could be read
  type: dict
"""
