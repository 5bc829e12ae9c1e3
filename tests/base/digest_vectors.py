#!/usr/bin/env python3
"""Reference values of the 64-bit digest, computed independently of the C++ code.

Written after the published algorithm: sine constants are computed, not copied, and the rounds are
spelt out by index. Run it and put the output into digest_vectors.inc when the inputs change:

    python3 digest_vectors.py > digest_vectors.inc
"""
import hashlib
import math

K = [int(abs(math.sin(i + 1)) * 2**32) for i in range(64)]
S = [7, 12, 17, 22] * 4 + [5, 9, 14, 20] * 4 + [4, 11, 16, 23] * 4 + [6, 10, 15, 21] * 4


def digest(data, bits=64):
    mask = (1 << bits) - 1
    padded = data + b"\x80" + b"\0" * ((55 - len(data)) % 64) + (8 * len(data)).to_bytes(8, "little")
    state = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476]
    for at in range(0, len(padded), 64):
        words = [int.from_bytes(padded[at + 4 * i : at + 4 * i + 4], "little") for i in range(16)]
        a, b, c, d = state
        for i in range(64):
            mixed = [(b & c) | (~b & d), (d & b) | (~d & c), b ^ c ^ d, c ^ (b | ~d)][i // 16]
            word = [i, 5 * i + 1, 3 * i + 5, 7 * i][i // 16] % 16
            total = (a + (mixed & mask) + K[i] + words[word]) & mask
            total = ((total << S[i]) | (total >> (32 - S[i]))) & mask
            a, b, c, d = d, (b + total) & mask, b, c
        state = [(x + y) & mask for x, y in zip(state, (a, b, c, d))]
    return b"".join((x & 0xFFFFFFFF).to_bytes(4, "little") for x in state)


print("// Made by digest_vectors.py: length of the pattern i * 7 % 256, digest.")
for n in (0, 1, 3, 16, 55, 56, 57, 63, 64, 65, 119, 120, 128, 1000):
    data = bytes(i * 7 % 256 for i in range(n))
    # The same steps on 32 bits must be the standard algorithm.
    assert digest(data, 32) == hashlib.md5(data).digest()
    print('{%d, "%s"},' % (n, digest(data).hex().upper()))
