"""A simulated world behind the real pcscd, for one test."""

import os
import subprocess

MODULE = os.environ["KMARK_MODULE"]
SIMULATOR = os.environ["KMARK_SIM"]
SCRIPTED_DIALOG = os.environ.get("KMARK_SCRIPTED_DIALOG", "")

ENC_PIN = "1234"
SIG_PIN = "123456"
ENC_ID = b"ckaid_92841569256EKEY"
SIG_ID = b"ckaid_t8090726489SIG"


class World:
    """Readers and cards, as `with World("acos03") as world:`. An argument is a card's name, or "empty"."""

    def __init__(self, *cards, options=()):
        self._arguments = [SIMULATOR, *options]
        for card in cards:
            self._arguments += ["--card", card]

    def __enter__(self):
        # The program in the world tells its addresses and then lives until its input ends.
        script = 'echo "$PCSCLITE_CSOCK_NAME"; echo "$KMARK_SIM_CONTROL"; exec cat >/dev/null'
        self._process = subprocess.Popen(
            [*self._arguments, "--", "sh", "-c", script],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.socket = self._process.stdout.readline().strip()
        self.control = self._process.stdout.readline().strip()
        if not self.socket:
            raise RuntimeError("the world did not start")
        self.env = dict(os.environ, PCSCLITE_CSOCK_NAME=self.socket, KMARK_SIM_CONTROL=self.control, LC_ALL="C.UTF-8")
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        self._process.wait(timeout=20)
        self._process.stdout.close()

    def run(self, *command, timeout=30, **options):
        """Runs a program in the world; returns what subprocess.run() returns, with bytes."""
        env = dict(self.env, **options.pop("env", {}))
        return subprocess.run(command, env=env, capture_output=True, timeout=timeout, check=False, **options)

    def tell(self, *words):
        """A word to the simulator: insert, remove, swap, ..."""
        done = self.run(SIMULATOR, "control", *map(str, words))
        if done.returncode != 0:
            raise RuntimeError(done.stderr.decode())
        return done.stdout.decode()

    def tool(self, *arguments, **options):
        """The stock pkcs11-tool on the built module."""
        return self.run("pkcs11-tool", "--module", MODULE, *arguments, **options)
