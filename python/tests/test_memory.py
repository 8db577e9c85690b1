"""Large transfers through file objects are streamed: a child process uploads and downloads
200 MiB while its peak resident memory grows by far less than the payload."""

import subprocess
import sys

MIB = 1 << 20

# The payload is made as it is read (a seekable file object over a repeating block whose length
# is no multiple of a chunk) and checked as it is written (a digest), so that the child itself
# never holds it.
CHILD = """
import hashlib, io, resource, sys, ostradb

SIZE = 200 << 20
BLOCK = hashlib.sha256(b"ostradb").digest() * 31250 + b"tail"   # 1,000,004 bytes

class Pattern(io.RawIOBase):
    def __init__(self):
        self.pos = 0
    def readable(self):
        return True
    def seekable(self):
        return True
    def seek(self, offset, whence=0):
        self.pos = (0, self.pos, SIZE)[whence] + offset
        return self.pos
    def tell(self):
        return self.pos
    def readinto(self, buffer):
        n = min(len(buffer), SIZE - self.pos, len(BLOCK) - self.pos % len(BLOCK))
        start = self.pos % len(BLOCK)
        buffer[:n] = BLOCK[start:start + n]
        self.pos += n
        return n

class Digest(io.RawIOBase):
    def __init__(self):
        self.hash, self.size = hashlib.sha256(), 0
    def writable(self):
        return True
    def write(self, data):
        self.hash.update(data)
        self.size += len(data)
        return len(data)

def peak():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024

expected, source = hashlib.sha256(), Pattern()
while chunk := source.read(1 << 20):
    expected.update(chunk)
with ostradb.connect(host="127.0.0.1", port=int(sys.argv[1]), user="admin", password="admin") as c:
    name = c.full_name(c.find_database("North Sea Demo"), "Eastfield/big-python.ws")
    start = peak()
    sent = c.put(name, Pattern())
    received = Digest()
    c.get(name, received)
    end = peak()
    c.remove(name)
print(sent, received.size, received.hash.digest() == expected.digest(), end - start)
"""


def test_200_mib_put_and_get_through_file_objects_keep_memory_flat(sandbox):
    run = subprocess.run([sys.executable, "-c", CHILD, str(sandbox.port)],
                         capture_output=True, text=True, timeout=600)
    assert run.returncode == 0, run.stderr
    sent, received, same, grown = run.stdout.split()
    assert int(sent) == int(received) == 200 * MIB and same == "True"
    assert int(grown) < 16 * MIB
