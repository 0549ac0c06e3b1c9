"""What the action plugins have in common: keswsec.exe run on the target, its answers, passwords kept out of them."""
import json
import re

from ansible.errors import AnsibleActionFail
from ansible.module_utils.common.parameters import remove_values
from ansible.plugins.action import ActionBase

DEFAULT_EXECUTABLE = r"C:\Program Files\Kestel\keswsec.exe"
COMMON_ARGUMENTS = {
    "executable": {"type": "raw", "default": DEFAULT_EXECUTABLE},
    "home": {"type": "str"},
    "node": {"type": "str"},
}
SECRET_NAMES = ("password", "passwd")
SECRET_IN_SCRIPT = re.compile(r'\b(?:%s)=("(?:[^"]|"")*"|\S+)' % "|".join(SECRET_NAMES))


def secrets_of(value, name=None):
    """The passwords in task arguments, however deep they lie."""
    if isinstance(value, dict):
        return set().union(*(secrets_of(item, key) for key, item in value.items()))
    if isinstance(value, (list, tuple)):
        return set().union(*(secrets_of(item, name) for item in value))
    text = "" if value is None else str(value)
    found = {text} if name in SECRET_NAMES else set()
    for quoted in SECRET_IN_SCRIPT.findall(text):
        found |= {quoted, quoted.strip('"').replace('""', '"')}
    return found - {""}


def one_line(text):
    return " ".join(text.split())


def text_of(value, otherwise=""):
    text = value if isinstance(value, str) else json.dumps(value, indent=1, sort_keys=True) if value is not None else otherwise
    return text + "\n" if text else ""


def answers_in(output):
    """What the program has answered, a line for each; the last one is not whole when the program was ended."""
    answers = []
    for line in output.splitlines():
        try:
            answers += [json.loads(line)] if line.startswith("{") else []
        except ValueError:
            break
    return answers


def diff_of(change):
    header = "%(node)s: %(object)s: %(action)s" % change
    before, after = change.get("expected", change["before"]), change.get("found", change["after"])
    return {
        "before_header": header,
        "after_header": header,
        "before": text_of(before),
        "after": text_of(after, change["action"] if before is None else ""),
    }


def said_of(change):
    """One change that is not as it should be."""
    said = "%(object)s: %(action)s: %(outcome)s" % change
    if "found" in change:
        said += ", expected %s, found %s" % (json.dumps(change["expected"]), json.dumps(change["found"]))
    return said + (", " + change["reason"] if change.get("reason") else "")


class Stopped(Exception):
    """keswsec.exe did not do all that it was asked to."""


class KeswsecAction(ActionBase):
    """Runs `work` with the checked arguments; what it fills into the result is returned on every path."""

    TRANSFERS_FILES = False  # the temporary directory is made, and removed, where the script is sent
    ARGUMENTS = {}
    ONE_OF = []

    def run(self, tmp=None, task_vars=None):
        result = super(KeswsecAction, self).run(tmp, task_vars)
        result.update(changed=False)
        secrets = secrets_of(self._task.args)
        try:
            arguments = self.validate_argument_spec(
                dict(COMMON_ARGUMENTS, **self.ARGUMENTS), mutually_exclusive=self.ONE_OF, required_one_of=self.ONE_OF
            )[1]
            self.work(arguments, result)
        except (AnsibleActionFail, Stopped) as error:
            result.update(failed=True, msg=str(error))
        return remove_values(result, secrets)

    def keswsec(self, arguments, *words):
        """Runs the program; its answers, one for each line, its exit status, and what it complains of."""
        executable = arguments["executable"]
        command = list(executable) if isinstance(executable, (list, tuple)) else [executable]
        for option in ("home", "node"):
            if arguments[option]:
                command += ["--" + option, arguments[option]]
        if arguments.get("force"):
            command.append("--force")
        if "--verify" in words:  # which writes nothing
            pass
        elif self._task.check_mode and not arguments["node"]:
            command.append("--what-if")
        elif not self._task.check_mode and arguments["node"]:
            command += ["--save", arguments["node"]]
        done = self._low_level_execute_command(self._command_line(command + ["--json"] + list(words)))
        return answers_in(done["stdout"]), done["rc"], one_line(done["stderr"])

    def _command_line(self, words):
        words = [str(word) for word in words]
        shell = self._connection._shell
        if not getattr(shell, "_IS_WINDOWS", False):
            return " ".join(shell.quote(word) for word in words)
        # PowerShell puts a word with blanks into quotes, which a backslash at its end would escape.
        words = [re.sub(r"(\\+)$", r"\1\1", word) if " " in word else word for word in words]
        line = "& " + " ".join("'%s'" % shell._escape(word) for word in words)
        return shell._encode_script(line + "; exit $LASTEXITCODE", strict_mode=False, preserve_rc=False)

    def journal(self, arguments, result, *words):
        """What became of the changes of a journal, one by one and counted."""
        changes, status, complaint = self.keswsec(arguments, *words)
        result["changes"] = [change for change in changes if "outcome" in change]
        if self._task.diff:
            result["diff"] = [diff_of(change) for change in result["changes"] if change["outcome"] in ("back", "different")]
        if len(result["changes"]) == len(changes) or status not in (0, 1):
            raise Stopped(complaint or "keswsec ended with status %s" % status)
        result["counts"] = changes[-1]
        if status:
            bad = [change for change in result["changes"] if change["outcome"] not in ("same", "back", "already", "unseen")]
            raise Stopped("; ".join(said_of(change) for change in bad) or complaint)

    def with_file(self, name, text, use):
        """Calls `use` with the paths of a file of that text and of one to be, both gone on every path."""
        shell = self._connection._shell
        try:
            folder = self._make_tmp_path()
            path = shell.join_path(folder, name)
            self._transfer_data(path, text)
            return use(path, shell.join_path(folder, "journal"))
        finally:
            self._remove_tmp_path(shell.tmpdir, force=bool(shell.tmpdir))
            if shell.tmpdir:
                raise Stopped("%s cannot be removed, passwords may lie in it" % shell.tmpdir)
