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
        """Runs the program; its answers, one for each call that was made, its exit status, and what it complains of."""
        executable = arguments["executable"]
        command = list(executable) if isinstance(executable, (list, tuple)) else [executable]
        for option in ("home", "node"):
            if arguments[option]:
                command += ["--" + option, arguments[option]]
        done = self._low_level_execute_command(self._command_line(command + ["--json"] + list(words)))
        answers = [json.loads(line) for line in done["stdout"].splitlines() if line.startswith("{")]
        for answer in answers:
            answer["changes"] = answer.pop("plan")
        return answers, done["rc"], one_line(done["stderr"]) or "%s ended with status %s" % (command[-1], done["rc"])

    def _command_line(self, words):
        words = [str(word) for word in words]
        shell = self._connection._shell
        if not getattr(shell, "_IS_WINDOWS", False):
            return " ".join(shell.quote(word) for word in words)
        # PowerShell puts a word with blanks into quotes, which a backslash at its end would escape.
        words = [re.sub(r"(\\+)$", r"\1\1", word) if " " in word else word for word in words]
        line = "& " + " ".join("'%s'" % shell._escape(word) for word in words)
        return shell._encode_script(line + "; exit $LASTEXITCODE", strict_mode=False, preserve_rc=False)

    def with_file(self, name, text, use):
        """Calls `use` with the path of a file of that text on the target, which is removed on every path."""
        shell = self._connection._shell
        try:
            path = shell.join_path(self._make_tmp_path(), name)
            self._transfer_data(path, text)
            return use(path)
        finally:
            self._remove_tmp_path(shell.tmpdir, force=bool(shell.tmpdir))
