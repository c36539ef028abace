"""What pysnmp needs to encode and decode one message. Prints lines of JSON.

Usage: pysnmp_codec.py SECONDS OBJECT NAME=HEX...
"""
import json
import sys
import timeit

from pyasn1.codec.ber import decoder, encoder
from pysnmp.proto import api

PROTOCOL = api.protoModules[api.protoVersion1]


def question(name):
    """A GET-NEXT as a record."""
    pdu = PROTOCOL.GetNextRequestPDU()
    PROTOCOL.apiPDU.setDefaults(pdu)
    PROTOCOL.apiPDU.setVarBinds(pdu, [(name, PROTOCOL.Null(""))])
    message = PROTOCOL.Message()
    PROTOCOL.apiMessage.setDefaults(message)
    PROTOCOL.apiMessage.setCommunity(message, "public")
    PROTOCOL.apiMessage.setPDU(message, pdu)
    return message


def report(name, seconds, work):
    work()
    timer = timeit.Timer(work)
    once = timer.timeit(20) / 20
    rounds = max(1, int(seconds / once))
    print(json.dumps({"name": name, "ns": timer.timeit(rounds) / rounds * 1e9}))


def main():
    seconds, name = float(sys.argv[1]), tuple(int(part) for part in sys.argv[2].split("."))
    record = question(name)
    report("encode", seconds, lambda: encoder.encode(record))
    for message in sys.argv[3:]:
        what, digits = message.split("=")
        data = bytes.fromhex(digits)
        report(what, seconds, lambda data=data: decoder.decode(data, asn1Spec=PROTOCOL.Message()))


main()
