"""Calls functions of keswsec19.dll on the target; modules/calls.py documents it."""
import re

from ansible.errors import AnsibleActionFail
from ansible_collections.kestel.keswsec.plugins.plugin_utils.keswsec import (
    SECRET_IN_SCRIPT,
    SECRET_NAMES,
    KeswsecAction,
    Stopped,
    diff_of,
    one_line,
    said_of,
)


def word(name, value):
    if isinstance(value, bool):
        if name in SECRET_NAMES:
            raise AnsibleActionFail("%s must be a text: put it into quotes" % name)
        value = int(value)
    if isinstance(value, (dict, list)) or set("\r\n") & set(str(value)):
        raise AnsibleActionFail("%s must be a text of one line, a number, or a list of these" % name)
    return '%s="%s"' % (name, str(value).replace('"', '""'))


def script_line(number, call):
    """One line of a script from {function: {name: value}}; a "- " before the function stays there."""
    if not isinstance(call, dict) or len(call) != 1:
        raise AnsibleActionFail("call %d must be one function name with its arguments" % number)
    ((function, arguments),) = call.items()
    if not isinstance(arguments or {}, dict) or not re.match(r"(- *)?\w+$", str(function)):
        raise AnsibleActionFail("call %d must be one function name with its arguments" % number)
    words = [str(function)]
    for name, value in (arguments or {}).items():
        if not re.match(r"\w+(\.size)?$", str(name)):
            raise AnsibleActionFail("call %d: %s is no name of an argument" % (number, name))
        words += [word(name, item) for item in (value if isinstance(value, list) else [value]) if item is not None]
    return " ".join(words)


def lines_of(arguments):
    if arguments["script"] is not None:
        lines = arguments["script"].split("\n")
    else:
        lines = [script_line(number, call) for number, call in enumerate(arguments["calls"], 1)]
    for line in lines:
        if "-" in (secret.strip('"') for secret in SECRET_IN_SCRIPT.findall(line)):
            raise AnsibleActionFail("a password cannot be read from standard input here")
    return lines


class ActionModule(KeswsecAction):
    ARGUMENTS = {
        "calls": {"type": "list", "elements": "dict", "no_log": True},
        "script": {"type": "str", "no_log": True},
        "journal": {"type": "str"},
    }
    ONE_OF = [["calls", "script"]]

    def work(self, arguments, result):
        lines = lines_of(arguments)
        expected = [line for line in lines if line.strip(" \t-") and not line.strip(" \t-").startswith("#")]
        answers, status, complaint = self.with_file(
            "calls.txt", "\n".join(lines) + "\n", lambda *paths: self._make_calls(arguments, *paths)
        )
        for answer in answers:
            answer["changes"] = answer.pop("plan")
        changes = [change for answer in answers for change in answer["changes"]]
        missing = [change for change in changes if change.get("outcome") in ("different", "unknown")]
        result.update(calls=answers, changed=len(changes) > len(missing))
        if self._task.diff:
            result["diff"] = [diff_of(change) for change in changes]
        if status == 0 and len(answers) == len(expected):
            return
        done = [answer["function"] for answer in answers]
        if status == 1 and answers and answers[-1]["message"]:
            complaint = "%s: %s" % (done.pop(), one_line(answers[-1]["message"]))
        elif status == 1 and missing:
            complaint = "not there although it was reported done: " + "; ".join(said_of(change) for change in missing)
        elif status == 1 and answers and not complaint:
            complaint = "%s: %s" % (done.pop(), answers[-1]["meaning"])
        complaint = complaint or "keswsec ended with status %s" % status
        raise Stopped("%s (calls done: %s)" % (complaint, ", ".join(done) or "none"))

    def _make_calls(self, arguments, path, own_journal):
        words = ["--script", path]
        journal = arguments["journal"] or (None if arguments["node"] else own_journal)  # it knows what has changed
        if journal and not self._task.check_mode:
            words += ["--journal", journal]
        answers, status, complaint = self.keswsec(arguments, *words)
        return answers, status, complaint.replace(path, "calls")
