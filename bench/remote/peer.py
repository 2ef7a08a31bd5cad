"""The Python peer: runs each line that comes over a socket, whose descriptor is the argument, and answers with `result`."""

import socket
import sys

connection = socket.socket(fileno=int(sys.argv[1]))
scope = {}
for line in connection.makefile("r"):
    exec(line, scope)
    connection.sendall(f"{scope['result']}\n".encode())
