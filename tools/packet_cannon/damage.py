"""Datagrams with something wrong in them, made from right ones."""
from typing import NamedTuple

SEED = 20240607  # of all random numbers here, unless a caller has his own

LARGEST = 65507  # bytes that fit a UDP datagram


def cut(data):
    """Every truncation, the empty one included."""
    return [data[:size] for size in range(len(data))]


def changed(data):
    """Every change of one byte."""
    results = []
    for offset in range(len(data)):
        for difference in range(1, 256):
            copy = bytearray(data)
            copy[offset] ^= difference
            results.append(bytes(copy))
    return results


class Element(NamedTuple):
    tag: int
    contents: object  # bytes, or a list of elements


def parse(data):
    """The elements in bytes whose lengths are all in one byte."""
    elements = []
    while data:
        tag, size = data[0], data[1]
        contents, data = data[2 : 2 + size], data[2 + size :]
        elements.append(Element(tag, parse(contents) if tag & 0x20 else contents))
    return elements


def count(elements):
    """The number of elements, those within others included."""
    return sum(1 + (count(e.contents) if isinstance(e.contents, list) else 0) for e in elements)


def build(elements, form, wanted):
    """The bytes of elements, with the length of one of them (by its number) in another form."""
    result, number = b"", 0
    for element in elements:
        contents = element.contents
        if isinstance(contents, list):
            contents = build(contents, form, wanted - number - 1)
        length = bytes([len(contents) & 0x7F])
        if number == wanted:
            length = form(len(contents))
        result += bytes([element.tag]) + length + contents
        number += count([element])
    return result


def fixed(text):
    return lambda length: bytes.fromhex(text)


def long_form(size):
    """The length as BER has it, with so many bytes."""
    return lambda length: bytes([0x80 | size]) + length.to_bytes(size, "big")


def left_form(size):
    """The length in front of four zero bytes, which is where the program reads it."""
    return lambda length: bytes([0x80 | size]) + length.to_bytes(size - 4, "big") + bytes(4)


LENGTHS = [
    *map(fixed, ("00", "01", "7F", "80", "FF", "FE", "89" + "00" * 9)),
    lambda length: bytes([max(0, length - 1)]),
    lambda length: bytes([length + 1]),
    *map(long_form, range(1, 9)),
    *map(left_form, range(5, 9)),
    *map(fixed, ("85FF00000000", "86FFFF00000000", "87FFFFFF00000000")),
    *map(fixed, ("88FFFFFFFF00000000", "887FFFFFFF00000000", "888000000000000000")),
    *map(fixed, ("88FFFFFFFFFFFFFFFF", "8800000001FFFFFFFF")),
]


def false_lengths(data):
    """The message with the length of each element in turn in every form, true or not.

    The elements around it count the bytes that the form takes.
    """
    elements = parse(data)
    return [build(elements, form, n) for n in range(count(elements)) for form in LENGTHS]


def noise(random, how_many, most=200):
    """Random bytes."""
    return [random.randbytes(random.randrange(most + 1)) for _ in range(how_many)]


def half_right(random, data, how_many):
    """The right beginning with random bytes behind it, in place of the rest."""
    results = []
    for _ in range(how_many):
        size = random.randrange(1, len(data))
        results.append(data[:size] + random.randbytes(random.randrange(60)))
    return results


def damaged(random, data, how_many):
    """The message with two to five random bytes in it."""
    results = []
    for _ in range(how_many):
        copy = bytearray(data)
        for _ in range(random.randrange(2, 6)):
            copy[random.randrange(len(copy))] = random.randrange(256)
        results.append(bytes(copy))
    return results


def sizes(random, data):
    """From nothing to the largest datagram there is: zeros, noise, and a right answer in front."""
    results = [b"", b"\0", b"0"]
    for size in (127, 128, 1535, 1536, 1537, 1600, 4096, 9000, 20000, LARGEST):
        rest = size - len(data)
        results += [bytes(size), random.randbytes(size), data + bytes(rest)]
        results.append(data + random.randbytes(rest))
    return results
