"""The few Cryptoki calls that the tests make from their own process, through the exported function list's names."""

import ctypes
from ctypes import Structure, byref, c_char, c_ubyte, c_ulong, c_void_p

CKF_SERIAL_SESSION = 4
CKF_DONT_BLOCK = 1
CKU_USER = 1

CKO_DATA, CKO_CERTIFICATE, CKO_PUBLIC_KEY, CKO_PRIVATE_KEY = range(4)
CKA_CLASS, CKA_LABEL, CKA_VALUE, CKA_ID = 0x0, 0x3, 0x11, 0x102
CKA_SUBJECT = 0x101

CKM_RSA_PKCS, CKM_SHA1_RSA_PKCS, CKM_RIPEMD160_RSA_PKCS = 0x1, 0x6, 0x8
CKM_SHA256_RSA_PKCS, CKM_SHA384_RSA_PKCS, CKM_SHA512_RSA_PKCS, CKM_SHA224_RSA_PKCS = 0x40, 0x41, 0x42, 0x46
CKM_ECDSA, CKM_ECDSA_SHA1 = 0x1041, 0x1042

CKR_OK, CKR_GENERAL_ERROR, CKR_FUNCTION_FAILED, CKR_ARGUMENTS_BAD, CKR_NO_EVENT = 0, 5, 6, 7, 8
CKR_MECHANISM_INVALID = 0x70
CKR_PIN_INCORRECT, CKR_PIN_LOCKED = 0xA0, 0xA4
CKR_SESSION_HANDLE_INVALID, CKR_SIGNATURE_INVALID, CKR_TOKEN_NOT_PRESENT = 0xB3, 0xC0, 0xE0

CKF_USER_PIN_COUNT_LOW, CKF_USER_PIN_FINAL_TRY, CKF_USER_PIN_LOCKED = 0x10000, 0x20000, 0x40000


class Version(Structure):
    _fields_ = [("major", c_ubyte), ("minor", c_ubyte)]


class TokenInfo(Structure):
    _fields_ = ([(name, c_char * size) for name, size in
                 (("label", 32), ("manufacturerID", 32), ("model", 16), ("serialNumber", 16))]
                + [("flags", c_ulong)]
                + [(f"count{i}", c_ulong) for i in range(10)]
                + [("hardwareVersion", Version), ("firmwareVersion", Version), ("utcTime", c_char * 16)])


class Attribute(Structure):
    _fields_ = [("type", c_ulong), ("pValue", c_void_p), ("ulValueLen", c_ulong)]


class Mechanism(Structure):
    _fields_ = [("mechanism", c_ulong), ("pParameter", c_void_p), ("ulParameterLen", c_ulong)]


class CkError(Exception):
    def __init__(self, function, rv):
        super().__init__(f"{function} returned 0x{rv:X}")
        self.rv = rv


class Module:
    """One loaded module. Methods raise CkError on any result but CKR_OK."""

    def __init__(self, path):
        self._library = ctypes.CDLL(path)

    def raw(self, function, *arguments):
        entry = getattr(self._library, function)
        entry.restype = c_ulong
        return entry(*arguments)

    def call(self, function, *arguments):
        rv = self.raw(function, *arguments)
        if rv != CKR_OK:
            raise CkError(function, rv)

    def initialize(self):
        self.call("C_Initialize", None)

    def finalize(self):
        self.call("C_Finalize", None)

    def slots(self, with_card=True):
        count = c_ulong(0)
        self.call("C_GetSlotList", c_ubyte(1 if with_card else 0), None, byref(count))
        ids = (c_ulong * max(count.value, 1))()
        self.call("C_GetSlotList", c_ubyte(1 if with_card else 0), ids, byref(count))
        return list(ids[: count.value])

    def token_info(self, slot):
        info = TokenInfo()
        self.call("C_GetTokenInfo", c_ulong(slot), byref(info))
        return info

    def open_session(self, slot):
        handle = c_ulong(0)
        self.call("C_OpenSession", c_ulong(slot), c_ulong(CKF_SERIAL_SESSION), None, None, byref(handle))
        return handle.value

    def login(self, session, pin):
        data = pin.encode()
        self.call("C_Login", c_ulong(session), c_ulong(CKU_USER), data, c_ulong(len(data)))

    def find(self, session, **attributes):
        names = {"object_class": CKA_CLASS, "key_id": CKA_ID, "label": CKA_LABEL}
        values = [(names[name], value if isinstance(value, bytes) else bytes(c_ulong(value)))
                  for name, value in attributes.items()]
        buffers = [ctypes.create_string_buffer(value, len(value)) for _, value in values]
        template = (Attribute * max(len(values), 1))()
        for entry, buffer, (kind, value) in zip(template, buffers, values):
            entry.type, entry.pValue, entry.ulValueLen = kind, ctypes.addressof(buffer), len(value)
        self.call("C_FindObjectsInit", c_ulong(session), template, c_ulong(len(values)))
        found, count = (c_ulong * 32)(), c_ulong(0)
        try:
            self.call("C_FindObjects", c_ulong(session), found, c_ulong(32), byref(count))
        finally:
            self.call("C_FindObjectsFinal", c_ulong(session))
        return list(found[: count.value])

    def attribute(self, session, handle, kind):
        template = Attribute(kind, None, 0)
        self.call("C_GetAttributeValue", c_ulong(session), c_ulong(handle), byref(template), c_ulong(1))
        buffer = ctypes.create_string_buffer(template.ulValueLen)
        template.pValue = ctypes.addressof(buffer)
        self.call("C_GetAttributeValue", c_ulong(session), c_ulong(handle), byref(template), c_ulong(1))
        return buffer.raw[: template.ulValueLen]

    def sign(self, session, key, mechanism, data):
        self.call("C_SignInit", c_ulong(session), byref(Mechanism(mechanism, None, 0)), c_ulong(key))
        signature, length = ctypes.create_string_buffer(512), c_ulong(512)
        self.call("C_Sign", c_ulong(session), data, c_ulong(len(data)), signature, byref(length))
        return signature.raw[: length.value]

    def verify(self, session, key, mechanism, data, signature):
        self.call("C_VerifyInit", c_ulong(session), byref(Mechanism(mechanism, None, 0)), c_ulong(key))
        self.call("C_Verify", c_ulong(session), data, c_ulong(len(data)), signature, c_ulong(len(signature)))

    def wait_for_slot_event(self, dont_block=True):
        slot = c_ulong(0)
        self.call("C_WaitForSlotEvent", c_ulong(CKF_DONT_BLOCK if dont_block else 0), byref(slot), None)
        return slot.value
