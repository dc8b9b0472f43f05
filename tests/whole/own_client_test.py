"""Calls that span time on one loaded module: cards that come and go, PIN tries, two processes, the signature key."""

import os
import pathlib
import subprocess
import sys
import tempfile
import textwrap
import time
import unittest

from world import ENC_ID, ENC_PIN, MODULE, SIG_ID, SIG_PIN, SCRIPTED_DIALOG, World

HERE = pathlib.Path(__file__).parent
# What every script run in the world starts with.
PRELUDE = f"""
import sys, time, ctypes
sys.path.insert(0, {str(HERE)!r})
from cryptoki import *
from world import ENC_ID, ENC_PIN, SIG_ID, SIG_PIN
import os, subprocess
module = Module({MODULE!r})
def tell(*words):
    subprocess.run([os.environ["KMARK_SIM"], "control", *map(str, words)], check=True, capture_output=True)
def code(call, *arguments):
    try:
        call(*arguments)
    except CkError as error:
        return error.rv
    return CKR_OK
def wait_for(condition):
    deadline = time.monotonic() + 10
    while not condition():
        assert time.monotonic() < deadline, "it did not happen"
        time.sleep(0.02)
"""


def script(body):
    return PRELUDE + textwrap.dedent(body)


class OwnClient(unittest.TestCase):
    def run_script(self, body, *cards, env=None, timeout=60):
        with World(*(cards or ("acos03",))) as world:
            done = world.run(sys.executable, "-c", script(body), env=env or {}, timeout=timeout)
        self.assertEqual(done.returncode, 0, (done.stdout + done.stderr).decode())
        return done.stdout.decode()

    def test_starts_no_thread(self):
        self.run_script("""
            def threads():
                return len(os.listdir("/proc/self/task"))
            module.initialize()
            session = module.open_session(module.slots()[0])
            module.login(session, ENC_PIN)
            key, = module.find(session, object_class=CKO_PRIVATE_KEY, key_id=ENC_ID)
            module.sign(session, key, CKM_SHA256_RSA_PKCS, b"text")
            assert threads() == 1, threads()
            module.finalize()
            assert threads() == 1, threads()
            """)

    def test_card_pulled_and_put_back_between_calls(self):
        self.run_script("""
            module.initialize()
            slot, = module.slots()
            session = module.open_session(slot)
            module.login(session, ENC_PIN)
            key, = module.find(session, object_class=CKO_PRIVATE_KEY, key_id=ENC_ID)
            module.sign(session, key, CKM_SHA256_RSA_PKCS, b"text")

            tell("remove", 0)
            wait_for(lambda: module.slots() == [])
            assert code(module.sign, session, key, CKM_SHA256_RSA_PKCS, b"text") == CKR_FUNCTION_FAILED
            assert code(module.token_info, slot) == CKR_TOKEN_NOT_PRESENT
            assert code(module.find, session) == CKR_SESSION_HANDLE_INVALID
            assert code(module.open_session, slot) == CKR_GENERAL_ERROR

            tell("insert", 0, "acos03")
            wait_for(lambda: module.slots() == [slot])
            module.token_info(slot)
            assert len(module.find(session)) == 7
            module.login(session, ENC_PIN)
            module.sign(session, key, CKM_SHA256_RSA_PKCS, b"text")
            module.finalize()
            """)

    def test_slot_events_come_one_at_a_time(self):
        self.run_script("""
            module.initialize()
            assert module.slots(with_card=False) == [0, 1]
            assert code(module.wait_for_slot_event) == CKR_NO_EVENT
            tell("insert", 0, "acos03")
            tell("insert", 1, "acos03")
            wait_for(lambda: module.slots() == [0, 1])
            assert module.wait_for_slot_event() == 0
            assert module.wait_for_slot_event() == 1
            assert code(module.wait_for_slot_event) == CKR_NO_EVENT
            tell("remove", 1)
            assert module.wait_for_slot_event(dont_block=False) == 1
            module.finalize()
            """, "empty", "empty")

    def test_tries_of_the_pin_show_in_the_token_flags(self):
        self.run_script("""
            module.initialize()
            slot, = module.slots()
            session = module.open_session(slot)
            for left in range(9, -1, -1):
                assert code(module.login, session, "9999") == CKR_PIN_INCORRECT
                flags = module.token_info(slot).flags
                assert flags & CKF_USER_PIN_COUNT_LOW
                assert bool(flags & CKF_USER_PIN_FINAL_TRY) == (left <= 1), left
                assert not flags & CKF_USER_PIN_LOCKED
            assert code(module.login, session, ENC_PIN) == CKR_PIN_LOCKED
            assert module.token_info(slot).flags & CKF_USER_PIN_LOCKED
            module.finalize()
            """)

    def test_right_pin_clears_the_flags(self):
        self.run_script("""
            module.initialize()
            slot, = module.slots()
            session = module.open_session(slot)
            assert code(module.login, session, "9999") == CKR_PIN_INCORRECT
            assert module.token_info(slot).flags == 0x50E | CKF_USER_PIN_COUNT_LOW
            module.login(session, ENC_PIN)
            assert module.token_info(slot).flags == 0x50E
            module.finalize()
            """)

    def test_two_processes_sign_with_one_card_at_a_time(self):
        body = script("""
            module.initialize()
            session = module.open_session(module.slots()[0])
            for _ in range(5):
                module.login(session, ENC_PIN)
                key, = module.find(session, object_class=CKO_PRIVATE_KEY, key_id=ENC_ID)
                public, = module.find(session, object_class=CKO_PUBLIC_KEY, key_id=ENC_ID)
                # The other process may have dropped the card's security state since the login.
                for _ in range(20):
                    try:
                        signature = module.sign(session, key, CKM_SHA256_RSA_PKCS, b"text")
                        break
                    except CkError as error:
                        assert error.rv == CKR_FUNCTION_FAILED, error
                        module.login(session, ENC_PIN)
                module.verify(session, public, CKM_SHA256_RSA_PKCS, b"text", signature)
            # Whoever ends first takes the power from the card, so both end together.
            open(os.path.join(os.environ["FOLDER"], str(os.getpid())), "w").close()
            wait_for(lambda: len(os.listdir(os.environ["FOLDER"])) == 2)
            module.finalize()
            """)
        with World("acos03") as world, tempfile.TemporaryDirectory() as folder:
            both = [subprocess.Popen([sys.executable, "-c", body], env=dict(world.env, FOLDER=folder),
                                     stdout=subprocess.PIPE, stderr=subprocess.STDOUT) for _ in range(2)]
            for process in both:
                output, _ = process.communicate(timeout=120)
                self.assertEqual(process.returncode, 0, output.decode())

    def test_the_signature_key_asks_for_its_pin_and_openssl_agrees(self):
        with tempfile.TemporaryDirectory() as folder:
            dialog = pathlib.Path(folder) / "dialog"
            dialog.write_text(f"answer {SIG_PIN}\n")
            self.run_script("""
                module.initialize()
                session = module.open_session(module.slots()[0])
                certificate, = module.find(session, object_class=CKO_CERTIFICATE, key_id=SIG_ID)
                der = module.attribute(session, certificate, CKA_VALUE)
                key, = module.find(session, object_class=CKO_PRIVATE_KEY, key_id=SIG_ID)
                signature = module.sign(session, key, CKM_ECDSA_SHA1, b"I agree.")
                assert len(signature) == 48, len(signature)

                def integer(raw):
                    raw = raw.lstrip(b"\\0") or b"\\0"
                    raw = (b"\\0" if raw[0] & 0x80 else b"") + raw
                    return b"\\2" + bytes([len(raw)]) + raw
                pair = integer(signature[:24]) + integer(signature[24:])
                folder = os.environ["FOLDER"]
                for name, content in (("c.der", der), ("m", b"I agree."), ("s", b"0" + bytes([len(pair)]) + pair)):
                    with open(os.path.join(folder, name), "wb") as file:
                        file.write(content)
                pem = subprocess.run(["openssl", "x509", "-inform", "DER", "-in", folder + "/c.der", "-noout",
                                      "-pubkey", "-out", folder + "/k.pem"], check=True)
                verdict = subprocess.run(["openssl", "dgst", "-sha1", "-verify", folder + "/k.pem", "-signature",
                                          folder + "/s", folder + "/m"], capture_output=True)
                assert b"Verified OK" in verdict.stdout, verdict
                module.finalize()
                """, env={"FOLDER": folder, "KMARK_P11GUI_SCRIPT": str(dialog),
                          "PATH": f"{SCRIPTED_DIALOG}:{os.environ['PATH']}"})

    def test_the_signature_key_without_a_dialog_program_gives_up_after_a_minute(self):
        output = self.run_script("""
            module.initialize()
            session = module.open_session(module.slots()[0])
            key, = module.find(session, object_class=CKO_PRIVATE_KEY, key_id=SIG_ID)
            start = time.monotonic()
            assert code(module.sign, session, key, CKM_ECDSA_SHA1, b"text") == CKR_FUNCTION_FAILED
            print(f"waited {time.monotonic() - start:.0f}")
            module.finalize()
            """, env={"PATH": "/nonexistent"}, timeout=120)
        self.assertRegex(output, "waited (59|60|61)")
        self.assertFalse(os.path.exists("/dev/shm/{C9034F36-6695-4de4-BCE5-79C7810FACAF}"))


if __name__ == "__main__":
    unittest.main()
