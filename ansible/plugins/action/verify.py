"""Says what has drifted since a journal; modules/verify.py documents it."""
from ansible_collections.kestel.keswsec.plugins.plugin_utils.keswsec import KeswsecAction


class ActionModule(KeswsecAction):
    ARGUMENTS = {"journal": {"type": "str", "required": True}, "force": {"type": "bool", "default": False}}

    def work(self, arguments, result):
        self.journal(arguments, result, "--verify", arguments["journal"])
