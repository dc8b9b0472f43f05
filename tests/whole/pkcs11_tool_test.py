"""The stock pkcs11-tool against the simulated ACOS 03 card behind the real pcscd."""

import pathlib
import subprocess
import tempfile
import unittest

from world import ENC_ID, ENC_PIN, SIG_ID, World

# What pkcs11-tool calls the mechanism, what OpenSSL calls the digest.
HASHING_MECHANISMS = {"SHA1-RSA-PKCS": "sha1", "RIPEMD160-RSA-PKCS": "ripemd160", "SHA256-RSA-PKCS": "sha256",
                      "SHA384-RSA-PKCS": "sha384"}
# DigestInfo of SHA-256 (RFC 8017, section 9.2).
SHA256_DIGEST_INFO = bytes.fromhex("3031300d060960864801650304020105000420")


class Pkcs11Tool(unittest.TestCase):
    def setUp(self):
        self.world = self.enterContext_(World("acos03"))
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.message = self.folder / "message"
        self.message.write_bytes(b"I agree.\n" * 100)

    def enterContext_(self, manager):
        value = manager.__enter__()
        self.addCleanup(manager.__exit__, None, None, None)
        return value

    def tool(self, *arguments, fails=False):
        done = self.world.tool(*arguments)
        output = (done.stdout + done.stderr).decode()
        self.assertEqual(done.returncode != 0, fails, output)
        return output

    def read_certificate(self, key_id, name):
        path = self.folder / name
        self.tool("--read-object", "--type", "cert", "--id", key_id.hex(), "--output-file", str(path))
        return path

    def public_key(self):
        certificate = self.read_certificate(ENC_ID, "enc.der")
        key = self.folder / "key.pem"
        key.write_bytes(self.openssl("x509", "-inform", "DER", "-in", str(certificate), "-noout", "-pubkey"))
        return key

    def openssl(self, *arguments):
        done = subprocess.run(["openssl", *arguments], capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        return done.stdout

    def sign(self, mechanism, data, pin=ENC_PIN, fails=False):
        source, target = self.folder / "to-sign", self.folder / "signature"
        source.write_bytes(data)
        output = self.tool("--login", "--pin", pin, "--sign", "--id", ENC_ID.hex(), "--mechanism", mechanism,
                           "--input-file", str(source), "--output-file", str(target), fails=fails)
        return output if fails else target

    def test_lists_the_slot_and_its_token(self):
        output = self.tool("--list-slots")
        self.assertIn("Slot 0 (0x0)", output)
        self.assertRegex(output, r"token label\s+: k\.mark premium a")
        self.assertRegex(output, r"token manufacturer\s+: Norvik")
        self.assertRegex(output, r"token model\s+: ACOS EMV-A03")
        self.assertRegex(output, r"serial num\s+: \d{16}")
        self.assertIn("login required", output)

    def test_lists_the_seven_objects(self):
        output = self.tool("--list-objects")
        for label in ("C.CH.EKEY", "PK.CH.EKEY", "SK.CH.EKEY", "C.CH.SIG", "PK.CH.SIG", "SK.CH.SIG",
                      "PERSONENBINDUNG"):
            self.assertIn(label, output)
        self.assertEqual(output.count("Certificate Object"), 2)
        self.assertEqual(output.count("Private Key Object"), 2)
        self.assertEqual(output.count("Public Key Object"), 2)

    def test_lists_the_mechanisms_although_it_gets_no_details(self):
        listed = [line.strip() for line in self.tool("--list-mechanisms").splitlines() if line.startswith("  ")]
        self.assertEqual(listed, ["RSA-PKCS", "SHA1-RSA-PKCS", "RIPEMD160-RSA-PKCS", "SHA256-RSA-PKCS",
                                  "SHA384-RSA-PKCS", "SHA224-RSA-PKCS", "ECDSA", "ECDSA-SHA1"])

    def test_reads_both_certificates_and_their_keys(self):
        enc = self.openssl("x509", "-inform", "DER", "-in", str(self.read_certificate(ENC_ID, "e.der")), "-text")
        self.assertIn(b"Public-Key: (1536 bit)", enc)
        sig = self.openssl("x509", "-inform", "DER", "-in", str(self.read_certificate(SIG_ID, "s.der")), "-text")
        self.assertIn(b"ASN1 OID: prime192v1", sig)

    def test_signs_by_every_hashing_mechanism_and_openssl_agrees(self):
        key = self.public_key()
        for mechanism, digest in HASHING_MECHANISMS.items():
            with self.subTest(mechanism):
                signature = self.sign(mechanism, self.message.read_bytes())
                providers = ["-provider", "default", "-provider", "legacy"] if digest == "ripemd160" else []
                output = self.openssl("dgst", *providers, f"-{digest}", "-verify", str(key), "-signature",
                                      str(signature), str(self.message))
                self.assertIn(b"Verified OK", output)

    def test_signs_a_ready_digest_info(self):
        digest = self.openssl("dgst", "-sha256", "-binary", str(self.message))
        signature = self.sign("RSA-PKCS", SHA256_DIGEST_INFO + digest)
        output = self.openssl("dgst", "-sha256", "-verify", str(self.public_key()), "-signature", str(signature),
                              str(self.message))
        self.assertIn(b"Verified OK", output)

    def test_verifies_in_the_module(self):
        signature = self.sign("SHA256-RSA-PKCS", self.message.read_bytes())
        output = self.tool("--verify", "--id", ENC_ID.hex(), "--mechanism", "SHA256-RSA-PKCS", "--input-file",
                           str(self.message), "--signature-file", str(signature))
        self.assertIn("Signature is valid", output)
        self.message.write_bytes(b"I do not agree.\n")
        output = self.tool("--verify", "--id", ENC_ID.hex(), "--mechanism", "SHA256-RSA-PKCS", "--input-file",
                           str(self.message), "--signature-file", str(signature))
        self.assertIn("Invalid signature", output)

    def test_mechanism_that_the_card_lists_but_the_module_cannot_hash(self):
        output = self.sign("SHA224-RSA-PKCS", b"text", fails=True)
        self.assertIn("CKR_FUNCTION_FAILED", output)

    def test_mechanism_that_is_left_out_on_purpose(self):
        output = self.sign("SHA512-RSA-PKCS", b"text", fails=True)
        self.assertIn("CKR_MECHANISM_INVALID", output)

    def test_wrong_pin_until_the_card_is_blocked(self):
        verdicts = []
        for _ in range(20):
            output = self.sign("SHA256-RSA-PKCS", b"text", pin="9999", fails=True)
            verdicts.append("CKR_PIN_LOCKED" if "CKR_PIN_LOCKED" in output else "CKR_PIN_INCORRECT")
            self.assertIn(verdicts[-1], output)
            if verdicts[-1] == "CKR_PIN_LOCKED":
                break
        # Ten tries, each answered as wrong, the tenth with none left; then the PIN is locked, for the right one too.
        self.assertEqual(verdicts, ["CKR_PIN_INCORRECT"] * 10 + ["CKR_PIN_LOCKED"])
        self.assertIn("CKR_PIN_LOCKED", self.sign("SHA256-RSA-PKCS", b"text", fails=True))

    def test_right_pin_gives_the_tries_back(self):
        for _ in range(3):
            self.assertIn("CKR_PIN_INCORRECT", self.sign("SHA256-RSA-PKCS", b"text", pin="9999", fails=True))
        self.sign("SHA256-RSA-PKCS", b"text")
        for _ in range(9):
            self.assertIn("CKR_PIN_INCORRECT", self.sign("SHA256-RSA-PKCS", b"text", pin="9999", fails=True))
        self.sign("SHA256-RSA-PKCS", b"text")

    def test_empty_reader_is_a_slot_without_token(self):
        self.world.tell("remove", 0)
        output = self.tool("--list-slots")
        self.assertIn("(empty)", output)

    def test_no_reader_is_no_slot(self):
        with World() as world:
            done = world.tool("--list-slots")
            self.assertIn(b"No slots", done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main()
