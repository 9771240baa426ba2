"""Runs in a board's private network: traffic.py FILE sends and receives datagrams as the JSON object in FILE says.

{"send": [[group, port, hexadecimal bytes], ...], "receive": [[group, port], ...], "packets": [number, ...], "patience":
seconds, "quiet": seconds}; it ends once that many TS packets have come for each of "receive", or patience runs out,
and nothing more has come for the quiet time. The answer, on standard output, is a list of what came for each.
"""

import json
import selectors
import socket
import struct
import sys
import time

PAUSE_EVERY = 50  # datagrams
TS = 188


def join(group, port):
    receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    receiver.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    receiver.bind((group, port))
    # The system chooses the device, as it does for players that do not name one.
    receiver.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, struct.pack("4sI", socket.inet_aton(group), 0))
    receiver.setblocking(False)
    return receiver


def packets_in(datagrams):
    return sum(len(datagram) // 2 // TS for datagram in datagrams)  # an RTP header is shorter than a packet


def main():
    with open(sys.argv[1]) as file:
        task = json.load(file)
    receivers = [join(*address) for address in task["receive"]]
    came = [[] for _ in receivers]
    selector = selectors.DefaultSelector()
    for receiver, datagrams in zip(receivers, came):
        selector.register(receiver, selectors.EVENT_READ, datagrams)

    def receive(wait):
        ready = selector.select(wait)
        for key, _ in ready:
            key.data.append(key.fileobj.recv(65536).hex())
        return bool(ready)

    sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    for number, (group, port, data) in enumerate(task["send"]):
        sender.sendto(bytes.fromhex(data), (group, port))
        while receive(0):
            pass
        if number % PAUSE_EVERY == PAUSE_EVERY - 1:
            time.sleep(0.002)
    deadline = time.monotonic() + task["patience"]
    while any(packets_in(each) < due for each, due in zip(came, task["packets"])) and time.monotonic() < deadline:
        receive(0.1)
    while receive(task["quiet"]):
        pass
    json.dump(came, sys.stdout)


if __name__ == "__main__":
    main()
