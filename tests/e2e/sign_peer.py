#!/usr/bin/env python3
"""An independent signer for package signatures, on Python's cryptography.

  sign_peer.py keygen KEY.pem PKCS8.pem   one key, as SEC1 and as PKCS#8
  sign_peer.py sign PKG KEY.pem           appends a signature trailer
  sign_peer.py verify PKG KEY.pem         exit 0 when the trailer holds

Trailer (80 bytes): "SSIG", key id (first 8 bytes of the SHA-256 of the
SubjectPublicKeyInfo DER), r and s (32 bytes each, big-endian) over the
SHA-256 of everything before them, then the length 80 (little-endian).
"""
import hashlib
import struct
import sys

from cryptography.exceptions import InvalidSignature
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec
from cryptography.hazmat.primitives.asymmetric.utils import (
    decode_dss_signature, encode_dss_signature)


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


def main(command, path, key_path, *rest):
    if command == "keygen":
        key = ec.generate_private_key(ec.SECP256R1())
        for out, fmt in ((path, serialization.PrivateFormat.TraditionalOpenSSL),
                         (key_path, serialization.PrivateFormat.PKCS8)):
            open(out, "wb").write(key.private_bytes(
                serialization.Encoding.PEM, fmt, serialization.NoEncryption()))
        return 0
    public, private = load(key_path)
    data = open(path, "rb").read()
    if command == "sign":
        signed = data + b"SSIG" + key_id(public)
        r, s = decode_dss_signature(private.sign(signed, ec.ECDSA(hashes.SHA256())))
        open(path, "wb").write(signed + r.to_bytes(32, "big") + s.to_bytes(32, "big") +
                               struct.pack("<I", 80))
        return 0
    trailer = data[-80:]
    if len(data) < 92 or trailer[:4] != b"SSIG" or trailer[76:] != struct.pack("<I", 80) or \
            trailer[4:12] != key_id(public):
        return 1
    signature = encode_dss_signature(int.from_bytes(trailer[12:44], "big"),
                                     int.from_bytes(trailer[44:76], "big"))
    try:
        public.verify(signature, data[:-68], ec.ECDSA(hashes.SHA256()))
    except InvalidSignature:
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
