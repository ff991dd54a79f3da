#!/usr/bin/env python3
"""An independent signer for package signatures, on Python's cryptography.

  sign_peer.py keygen KEY.pem PKCS8.pem   one key, as SEC1 and as PKCS#8
  sign_peer.py sign PKG KEY.pem [VERSION [BASE]] [--high-s]
                                          appends a signature trailer for the
                                          packed versions (integers)
  sign_peer.py sign-old PKG KEY.pem       appends the older 80-byte trailer,
                                          which names no version
  sign_peer.py keys FOLDER                keys that must be refused: P-384
                                          (private, public), encrypted (PKCS#8,
                                          old PEM), a point off the curve, a
                                          1.5 GB file, a scalar with another
                                          key's point
  sign_peer.py verify PKG KEY.pem         exit 0 when the trailer holds

Trailer (100 bytes, integers little-endian): "SSGV", key id (first 8 bytes of
the SHA-256 of the SubjectPublicKeyInfo DER), version (8), flags (4: 1 with a
base), base (8), r and s (32 bytes each, big-endian, s low) over the SHA-256 of
everything before them, then the length 100.
"""
import base64
import hashlib
import struct
import sys

from cryptography.exceptions import InvalidSignature
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.hazmat.primitives.asymmetric.utils import (
    decode_dss_signature, encode_dss_signature)


ORDER = 0xFFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551


def load(path):
    data = open(path, "rb").read()
    if b"PRIVATE KEY" in data:
        return serialization.load_pem_private_key(data, None).public_key(), \
            serialization.load_pem_private_key(data, None)
    return serialization.load_pem_public_key(data), None


def key_id(public):
    der = public.public_bytes(serialization.Encoding.DER,
                              serialization.PublicFormat.SubjectPublicKeyInfo)
    return hashlib.sha256(der).digest()[:8]


def pem_text(label, der):
    return ("-----BEGIN %s-----\n" % label).encode() + base64.b64encode(der) + \
        ("\n-----END %s-----\n" % label).encode()


def write_refused_keys(folder):
    pem, raw = serialization.Encoding.PEM, serialization.PrivateFormat
    p384 = ec.generate_private_key(ec.SECP384R1())
    p256 = ec.generate_private_key(ec.SECP256R1())
    locked = serialization.BestAvailableEncryption(b"pass phrase")
    keys = {
        "p384.pem": p384.private_bytes(pem, raw.TraditionalOpenSSL,
                                       serialization.NoEncryption()),
        "p384.pub": p384.public_key().public_bytes(
            pem, serialization.PublicFormat.SubjectPublicKeyInfo),
        "enc8.pem": p256.private_bytes(pem, raw.PKCS8, locked),
        "encold.pem": p256.private_bytes(pem, raw.TraditionalOpenSSL, locked),
        # A P-256 scalar with another key's public point.
        "mismatch.pem": pem_text("EC PRIVATE KEY", bytes.fromhex(
            "30770201010420") + p256.private_numbers().private_value.to_bytes(32, "big") +
            bytes.fromhex("a00a06082a8648ce3d030107a144034200") + ec.generate_private_key(
                ec.SECP256R1()).public_key().public_bytes(
                    serialization.Encoding.X962, serialization.PublicFormat.UncompressedPoint)),
        # x = 1, y = 1 in a well-formed P-256 SubjectPublicKeyInfo.
        "offcurve.pub": pem_text("PUBLIC KEY", bytes.fromhex(
            "3059301306072a8648ce3d020106082a8648ce3d03010703420004") +
            (1).to_bytes(32, "big") * 2),
    }
    for name, text in keys.items():
        open(folder + "/" + name, "wb").write(text)
    # 1.5 GB, sparse: a key file too large to be read.
    open(folder + "/huge.pem", "wb").truncate(1536 << 20)


def main(command, path, key_path=None, *rest):
    if command == "keygen":
        key = ec.generate_private_key(ec.SECP256R1())
        for out, fmt in ((path, serialization.PrivateFormat.TraditionalOpenSSL),
                         (key_path, serialization.PrivateFormat.PKCS8)):
            open(out, "wb").write(key.private_bytes(
                serialization.Encoding.PEM, fmt, serialization.NoEncryption()))
        return 0
    if command == "keys":
        write_refused_keys(path)
        return 0
    public, private = load(key_path)
    data = open(path, "rb").read()
    if command == "sign-old":
        signed = data + b"SSIG" + key_id(public)
        r, s = decode_dss_signature(private.sign(signed, ec.ECDSA(hashes.SHA256())))
        s = min(s, ORDER - s)
        open(path, "wb").write(signed + r.to_bytes(32, "big") + s.to_bytes(32, "big") +
                               struct.pack("<I", 80))
        return 0
    if command == "sign":
        high = "--high-s" in rest
        numbers = [int(v) for v in rest if v != "--high-s"] + [0]
        base = numbers[1] if len(numbers) > 2 else None
        signed = data + b"SSGV" + key_id(public) + struct.pack(
            "<QIQ", numbers[0], 1 if base is not None else 0, base or 0)
        r, s = decode_dss_signature(private.sign(signed, ec.ECDSA(hashes.SHA256())))
        s = min(s, ORDER - s)
        if high:
            s = ORDER - s
        open(path, "wb").write(signed + r.to_bytes(32, "big") + s.to_bytes(32, "big") +
                               struct.pack("<I", 100))
        return 0
    trailer = data[-100:]
    if len(data) < 112 or trailer[:4] != b"SSGV" or trailer[96:] != struct.pack("<I", 100) or \
            trailer[4:12] != key_id(public):
        return 1
    r, s = int.from_bytes(trailer[32:64], "big"), int.from_bytes(trailer[64:96], "big")
    if s > ORDER // 2:
        return 1
    try:
        public.verify(encode_dss_signature(r, s), data[:-68], ec.ECDSA(hashes.SHA256()))
    except InvalidSignature:
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
