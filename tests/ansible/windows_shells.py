"""What goes to a Windows target through each of its shells: noted, and answered, by a connection that has no machine."""
import base64
import os
import sys
from types import SimpleNamespace

sys.path.insert(0, os.path.abspath("build/fleet"))
from ansible.errors import AnsibleConnectionFailure
from ansible.playbook.play_context import PlayContext
from ansible.plugins.loader import shell_loader
from ansible_collections.kestel.keswsec.plugins.action.calls import ActionModule

FAILED = (
    b'{"function":"sswseCreateOSGroup","status":3,"meaning":"failure","message":"WSE-000028: No.","plan":'
    b'[{"node":"A","object":"group a","action":"created","outcome":"different","expected":{},"found":null}]}\r\n{"function":"cut'
)
ANSWER = b'{"function":"sswseIsOSWinDC","status":0,"meaning":"no","message":"","plan":[]}\r\n'
FOLDER = r"C:\Users\x\ansible-tmp-1"


class Connection:
    transport, become, allow_executable = "winrm", None, False

    def __init__(self, shell, fails_at, answer):
        self._shell = shell_loader.get(shell)
        self._shell.set_options()
        self.fails_at, self.answer, self.seen = fails_at, answer, []

    def note(self, line, answer):
        self.seen.append(line)
        if self.fails_at and self.fails_at in line:
            raise AnsibleConnectionFailure("gone")
        return int(answer == FAILED and "--script" in line), answer, b""

    def exec_command(self, command, in_data=None, sudoable=True):
        script = base64.b64decode(command.split()[-1]).decode("utf-16-le")
        return self.note(script, FOLDER.encode() + b"\r\n" if "New-Item" in script else self.answer)

    def put_file(self, source, destination):
        with open(source) as file:
            self.note("PUT %s: %s" % (destination, file.read()), b"")

    def get_option(self, name):
        raise KeyError(name)


def run(shell, fails_at, answer=ANSWER):
    arguments = {
        "home": "C:\\it's mine\\",
        "calls": [{"- CheckValidUser": {"username": "a", "passwd": "Never-to-be-seen"}}],
    }
    task = SimpleNamespace(args=arguments, check_mode=False, diff=False, async_val=0)
    connection = Connection(shell, fails_at, answer)
    result = None
    try:
        result = ActionModule(task, connection, PlayContext(), None, None, None).run(task_vars={})
    except AnsibleConnectionFailure:
        pass
    return result, connection.seen


for shell in ("powershell", "cmd"):
    result, seen = run(shell, None)
    assert not result.get("failed") and result["calls"][0]["meaning"] == "no", result
    put, call = seen[-3:-1]
    assert put == 'PUT %s\\calls.txt: - CheckValidUser username="a" passwd="Never-to-be-seen"\n' % FOLDER, put
    assert call == (
        r"& 'C:\Program Files\Kestel\keswsec.exe' '--home' 'C:\it''s mine\\' '--json' '--script' '%s\calls.txt'"
        r" '--journal' '%s\journal'; exit $LASTEXITCODE" % (FOLDER, FOLDER)
    ), call
    for fails_at in (None, "PUT", "--script"):
        result, seen = run(shell, fails_at)
        assert (result is None) == bool(fails_at)
        assert "Remove-Item '%s\\.' -Force -Recurse" % FOLDER in seen[-1], seen
        assert [line[:3] for line in seen if "Never" in line] == ["PUT"], seen
result, seen = run("powershell", None, FAILED)
assert result["msg"].startswith("sswseCreateOSGroup: WSE-000028: No. (calls done: none)") and not result["changed"], result
