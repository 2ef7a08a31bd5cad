#!/usr/bin/env python3
"""A coordinator's peer on Linux, after docs/pipes.md and docs/protocol.md: pings, and prints what comes back.

usage: peer.py OWN_NAME COORDINATOR TEXT...

The texts go out one after the other; each answer is printed as one line of JSON. Status 0 when all were answered as they were.
"""
import json
import os
import re
import select
import socket
import struct
import sys
import tempfile
import time
import uuid

DATA = os.path.join(os.environ.get("XDG_DATA_HOME") or os.path.expanduser("~/.local/share"), "net.morvane")
PIPES, SESSIONS = os.path.join(DATA, "NamedPipes"), os.path.join(DATA, "SessionData")
PREFIX = "net.morvane.coordinator."
SECONDS, PING, PING_REPLY = 60, 2, 3
ESCAPES = {byte: ord(letter) for byte, letter in enumerate("zSseETAb<tnVfrOIL1234KYPDRC!UFWX")} | {c: c for c in b"\"'\\"}
UNESCAPES = {letter: byte for byte, letter in ESCAPES.items()}


# --- Lines: the escapes of an item, and a message as one line

def escape(text):
    return b"".join(b"\\%c" % ESCAPES[byte] if byte in ESCAPES else b"%c" % byte for byte in text)


def unescape(item):
    return re.sub(rb"\\(.?)", lambda m: bytes([UNESCAPES.get(m[1][0], m[1][0])]) if m[1] else b"", item, flags=re.DOTALL)


def to_line(items):
    text = b"".join(item + b"\n" for item in items)
    return text.replace(b"-", b"--").replace(b"\n", b"-n").replace(b"\0", b"-z") + b"\n"


def to_items(line):
    text = re.sub(rb"-(.)", lambda m: {b"n": b"\n", b"z": b"\0"}.get(m[1], m[1]), line, flags=re.DOTALL)
    return text.split(b"\n")[:-1]


# --- Files: who is there, and that this process is

def read_ini(path):
    if os.stat(path).st_uid != os.geteuid():
        raise PermissionError(path)
    unquote = lambda value: re.sub(rb"\\(?:x(..)|(.))", lambda m: bytes.fromhex(m[1].decode()) if m[1] else m[2], value)
    with open(path, "rb") as file:
        return {key: unquote(value).decode() for key, value in re.findall(rb'^(\w+)="(.*)"$', file.read(), re.MULTILINE)}


def publish(path, text):
    handle, beside = tempfile.mkstemp(dir=DATA)
    with os.fdopen(handle, "w", encoding="utf-8") as file:
        file.write(text)
    os.rename(beside, path)


def start_token():
    read = lambda path: open(path, encoding="ascii").read().strip()
    machine = next((read(path) for path in ("/etc/machine-id", "/var/lib/dbus/machine-id") if os.path.exists(path)), os.uname().nodename)
    ticks = read("/proc/self/stat").rpartition(")")[2].split()[19]
    return f"{machine}/{read('/proc/sys/kernel/random/boot_id')}/{ticks}"


# --- Packets

def send(connection, number, line):
    data = struct.pack("<Q", len(line)) + line
    for packet, start in enumerate(range(0, len(data), 4072)):
        payload = data[start:start + 4072]
        connection.sendall(struct.pack("<QQIHH", number, packet, os.getpid(), len(payload), 0) + payload)


def receive(listener, connections):
    """The lines that come next; waits for them."""
    for ready in select.select([listener, *connections], [], [], SECONDS)[0]:
        if ready is listener:
            connections[listener.accept()[0]] = b""
            continue
        packet = ready.recv(65536)
        if not packet:
            del connections[ready]
            continue
        number, index, _, size, _ = struct.unpack_from("<QQIHH", packet)
        connections[ready] = (connections[ready] if index else b"") + packet[24:24 + size]
        text = connections[ready]
        if len(text) - 8 == struct.unpack_from("<Q", text)[0]:
            yield from text[8:].split(b"\n")[:-1]


def main(own_name, target, *texts):
    raw_path = os.path.join(tempfile.mkdtemp(), "pipe")
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind(raw_path)
    listener.listen(5)
    process = f'processId="{os.getpid()}"\n'
    publish(f"{SESSIONS}/{own_name}.session", f'[session]\ncoordinatorName="{own_name}"\n{process}startToken="{start_token()}"\n')
    publish(f"{SESSIONS}/{own_name}.pid", str(os.getpid()))
    publish(f"{PIPES}/{own_name}", f'[NamedPipe]\nnamedPipeProxyPath="{raw_path}"\n{process}')
    coordinator, waiter = str(uuid.uuid4()).upper(), str(uuid.uuid4()).upper()
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    connection.connect(read_ini(f"{PIPES}/{target}")[b"namedPipeProxyPath"])
    connections, good, deadline = {}, 0, time.monotonic() + SECONDS
    try:
        for number, text in enumerate(texts, 1):
            send(connection, number, to_line([b"Message", b"LocalResolvedAddress", waiter.encode(), coordinator.encode(), own_name.encode(),
                                              b"LocalUnresolvedAddress", target.encode(), b"net.morvane.service.ping/0",
                                              str(PING).encode(), escape(text.encode())]))
            answers = []
            while not answers and time.monotonic() < deadline:
                answers = [to_items(line) for line in receive(listener, connections)]
            for *head, operation, payload in answers:
                print(json.dumps(unescape(payload).decode()))
                good += head[6].decode() == waiter and int(operation) == PING_REPLY and unescape(payload).decode() == text
    finally:
        for path in (f"{PIPES}/{own_name}", f"{SESSIONS}/{own_name}.pid", f"{SESSIONS}/{own_name}.session", raw_path):
            os.unlink(path)
        os.rmdir(os.path.dirname(raw_path))
    return 0 if good == len(texts) else 1


if __name__ == "__main__":
    sys.exit(main(*(name if "." in name else PREFIX + name for name in sys.argv[1:3]), *sys.argv[3:]))
