"""Takes a journal back; modules/undo.py documents it."""
from ansible_collections.kestel.keswsec.plugins.plugin_utils.keswsec import KeswsecAction


class ActionModule(KeswsecAction):
    ARGUMENTS = {
        "journal": {"type": "str", "required": True},
        "own_journal": {"type": "str"},
        "force": {"type": "bool", "default": False},
    }

    def work(self, arguments, result):
        words = ["--undo", arguments["journal"]]
        if arguments["own_journal"] and not self._task.check_mode:
            words += ["--journal", arguments["own_journal"]]
        try:
            self.journal(arguments, result, *words)
        finally:
            result["changed"] = any(change["outcome"] == "back" for change in result.get("changes", []))
