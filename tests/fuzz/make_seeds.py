#!/usr/bin/python3
"""Writes the hand-made inputs of the fuzz targets into tests/fuzz/corpus: the protocol's own
examples, the forms that are read in an unusual way, and the limits. The other inputs there were
captured in the lab or found by a fuzzer. How an input is laid out, the head of its target says."""
import pathlib
import sys

CORPUS = pathlib.Path(__file__).parent / "corpus"


def octets(text):
    """Bytes from hex digits; "|" only separates."""
    return bytes.fromhex(text.replace("|", " "))


def word(number):
    return number.to_bytes(2, "little")


def counted(number):
    """A number as its count of bytes and the bytes, high byte first."""
    size = (number.bit_length() + 7) // 8
    return bytes([size]) + number.to_bytes(size, "big")


def name(*numbers):
    return bytes([len(numbers)]) + b"".join(counted(number) for number in numbers)


def element(tag, *parts):
    """An element with its length in one byte, or in six of which the first two count."""
    contents = b"".join(parts)
    if len(contents) < 128:
        return bytes([tag, len(contents)]) + contents
    return bytes([tag, 0x86]) + len(contents).to_bytes(2, "big") + bytes(4) + contents


ZERO = octets("02 01 00")
PUBLIC = octets("04 06 70 75 62 6C 69 63")
SYS_NAME = octets("06 08 2B 06 01 02 01 01 05 00")


def binding(value, oid=SYS_NAME):
    return element(0x30, oid, value)


def response(*bindings, tag=0xA2, error=ZERO, community=PUBLIC, version=ZERO):
    request_id = octets("02 04 12 34 56 78")
    pdu = element(tag, request_id, error, ZERO, element(0x30, *bindings))
    return element(0x30, version, community, pdu)


def text(value):
    return element(0x04, value)


DATAGRAMS = {
    "name_of_a_printer": response(binding(text(b"PRINTER-12"))),
    "two_variables": response(binding(octets("02 01 05")), binding(octets("05 00"))),
    "every_type": response(
        *(
            binding(octets(value))
            for value in (
                "02 02 FF 7F",
                "04 01 61",
                "40 04 0A 4D 00 40",
                "41 01 80",
                "42 02 00 FF",
                "43 03 01 00 00",
                "06 03 2B 06 01",
                "44 01 00",
            )
        )
    ),
    "empty_list": response(),
    "error_no_such_name": response(binding(octets("05 00")), error=octets("02 01 02")),
    "version_two": response(version=octets("02 01 01")),
    "trap": element(
        0x30,
        ZERO,
        PUBLIC,
        element(
            0xA4,
            octets("06 03 2B 06 01"),
            octets("40 04 0A 4D 00 40"),
            octets("02 01 06"),
            octets("02 01 01"),
            octets("43 02 01 00"),
            element(0x30, binding(octets("02 01 05"))),
        ),
    ),
    "trap_with_long_agent_address": element(
        0x30, ZERO, PUBLIC, element(0xA4, octets("06 03 2B 06 01"), octets("40 05 0A 4D 00 40 01"))
    ),
    "request_in_long_form": octets(
        "30 82 00 2B | 02 01 00 | 04 06 70 75 62 6C 69 63 | A0 1E | 02 04 12 34 56 78 | 02 01 00 |"
        "02 01 00 | 30 10 | 30 82 00 0C | 06 08 2B 06 01 02 01 01 05 00 | 05 00"
    ),
    "message_length_in_five_bytes": octets("30 85 0B 00 00 00 00") + ZERO + PUBLIC,
    "message_length_in_eight_bytes": octets("30 88 FF FF FF FF 00 00 00 00") + ZERO + PUBLIC,
    "indefinite_length": octets("30 80") + ZERO + PUBLIC + octets("00 00"),
    "community_of_128": response(community=element(0x04, b"c" * 128)),
    "community_of_129": response(community=element(0x04, b"c" * 129)),
    "name_of_128_numbers": response(binding(octets("05 00"), element(0x06, b"\x2B" * 127))),
    "name_of_129_numbers": response(binding(octets("05 00"), element(0x06, b"\x2B" * 128))),
    "number_of_33_bits": response(binding(octets("05 00"), octets("06 06 2B 90 80 80 80 00"))),
    "unfinished_number": response(binding(octets("05 00"), octets("06 02 2B 86"))),
    "empty_integer_at_the_end": response(binding(octets("02 00"))),
    "integer_of_9_bytes": response(binding(octets("02 09 00 00 00 00 00 00 00 00 01"))),
    "unsigned_of_9_bytes": response(binding(octets("42 09 00 FF 00 00 00 00 00 00 00"))),
    "value_past_the_end": response(binding(octets("04 7F 61"))),
    "value_of_1535_bytes": response(binding(text(b"v" * 1535))),
    "value_of_1536_bytes": response(binding(text(b"v" * 1536))),
    "high_tag_number": response(tag=0xBF),
    "object_identifier_unfinished": response(binding(octets("06 02 2B 86"))),
    "object_identifier_of_33_bits": response(binding(octets("06 06 2B 90 80 80 80 00"))),
}


def asn_parse():
    elements = {
        "length_short": (0, "7F"),
        "length_long1_reads_0": (0, "81 9A"),
        "length_left5": (0, "85 05 00 00 00 00"),
        "length_left8": (0, "88 01 02 03 04 05 06 07 08"),
        "length_9_bytes": (0, "89 01 02 03 04 05 06 07 08 09"),
        "length_indefinite": (0, "80"),
        "header_sequence": (1, "30 03 02 01 05"),
        "header_cut": (1, "30 05 02 01 05"),
        "header_high_tag": (1, "1F 01 00"),
        "header_long_reads_0": (1, "30 82 00 05 02 01 05"),
        "null": (2, "05 00"),
        "null_long_form": (2, "05 82 01 01"),
        "null_with_contents": (2, "05 01 00"),
        "int_minus_129": (3, "02 02 FF 7F"),
        "int_of_8": (3, "02 08 80 00 00 00 00 00 00 00"),
        "int_of_9": (3, "02 09 00 80 00 00 00 00 00 00 00"),
        "int_empty_before_80": (3, "02 00 80"),
        "unsigned_80": (4, "42 01 80"),
        "unsigned_of_9": (4, "42 09 00 FF FF FF FF FF FF FF FF"),
        "unsigned_of_9_not_0": (4, "42 09 01 00 00 00 00 00 00 00 00"),
        "unsigned_empty": (4, "42 00 FF"),
        "string": (5, "04 03 61 62 63"),
        "string_empty": (5, "04 00"),
        "oid": (6, "06 08 2B 06 01 04 01 85 5B 00"),
        "oid_empty": (6, "06 00"),
        "oid_first_78": (6, "06 02 78 01"),
        "oid_first_of_two_bytes": (6, "06 02 81 34"),
        "oid_32_bits": (6, "06 06 2B 8F FF FF FF 7F"),
        "oid_33_bits": (6, "06 06 2B 90 80 80 80 00"),
        "oid_unfinished": (6, "06 02 2B 86"),
        "other_sizes": (7, "02 01 05"),
    }
    return {
        key: bytes([decoder]) + word(128) + octets(data)
        for key, (decoder, data) in elements.items()
    }


def asn_build():
    def number(value):
        return (value % 2**64).to_bytes(8, "little")

    seeds = {
        f"length_{value}": bytes([0, 0]) + number(value)
        for value in (0, 127, 128, 255, 256, 65535, 65536, 2**31 - 1)
    }
    seeds["length_negative"] = bytes([0, 0]) + number(-1)
    seeds["header_200"] = bytes([1, 0x30]) + number(200)
    seeds["null"] = bytes([2, 5])
    for value in (0, 127, 128, 255, -1, -128, -129, 2**63 - 1, -(2**63)):
        sign = "minus_" if value < 0 else ""
        seeds[f"int_{sign}{abs(value)}"] = bytes([3, 2]) + number(value)
    for value in (0x80000000, 2**63, 2**64 - 1, 0xFF80000000000000, 0xFF7FFFFFFFFFFFFF):
        seeds[f"unsigned_{value:x}"] = bytes([4, 0x42]) + number(value)
    for size in (0, 127, 128, 256):
        seeds[f"string_{size}"] = bytes([5, 4]) + b"s" * size
    for key, numbers in {
        "vendor": (1, 3, 6, 1, 4, 1, 731, 0),
        "32_bits": (1, 3, 2**32 - 1, 2**32),
        "one_number": (1,),
        "none": (),
        "first_180": (2, 100),
        "limits": (1, 3, 127, 128, 65535),
        "544_bytes": (1, 3) + (1,) * 543,
        "545_bytes": (1, 3) + (1,) * 544,
    }.items():
        seeds["oid_" + key] = bytes([6, 6]) + b"".join(counted(each) for each in numbers)
    seeds["sequence_5"] = bytes([7, 0x30]) + number(5)
    seeds["no_string"] = bytes([8, 4]) + number(0)
    seeds["no_string_of_1"] = bytes([8, 4]) + number(1)
    return seeds


def records():
    def record(variables, kind=0xA0, community=b"public", head=counted(0x12345678) + b"\0\0"):
        return bytes([kind]) + word(len(community)) + community + head + b"".join(variables)

    def variable(tag, value, oid=(1, 3, 6, 1, 2, 1, 1, 5, 0)):
        return bytes([tag]) + name(*oid) + value

    def string(size):
        return word(size) + b"v" * size

    null = variable(5, word(0))
    trap = (
        name(1, 3, 6, 1, 4, 1, 731) + octets("0A 4D 00 40") + counted(6) + counted(1) + counted(300)
    )
    return {
        "get_name": record([null]),
        "get_next": record([null], 0xA1),
        "every_type": record(
            [
                variable(2, octets("7F FF FF FF FF FF FF FF")),
                variable(4, string(3)),
                variable(6, name(1, 3, 6, 1, 2**32 - 1)),
                variable(0x40, string(4)),
                variable(0x41, octets("80 00 00 00 00 00 00 00")),
                variable(0x42, bytes(8)),
                variable(0x43, octets("FF FF FF FF 00 00 00 00")),
            ]
        ),
        "trap": record([null], 0xA4, head=trap),
        "binding_of_128": record([variable(4, string(108)), null]),
        "binding_of_256": record([variable(4, string(300)), null]),
        "value_of_1535": record([variable(4, string(1535))]),
        "value_of_1536": record([variable(4, string(1536))]),
        "community_of_128": record([null], community=b"c" * 128),
        "community_of_200": record([null], community=b"c" * 200),
        "no_community": record([null], community=b""),
        "no_variables": record([]),
        "name_of_128_numbers": record([variable(5, word(0), (1, 3) + (1,) * 126)]),
        "name_of_129_numbers": record([variable(5, word(0), (1, 3) + (1,) * 127)]),
        "long_name": record([variable(5, word(0), (1, 3) + (4294967295,) * 30)]),
        "no_name": record([variable(5, word(0), ())]),
        "opaque": record([variable(0x44, string(2))]),
    }


def oid_text():
    def case(value, stated=None, array=128, room=256):
        return word(len(value) if stated is None else stated) + bytes([array]) + word(room) + value

    return {
        "sys_name": case(b"1.3.6.1.2.1.1.5.0"),
        "dots_twice": case(b"1..3"),
        "dot_first": case(b".1.3"),
        "letters": case(b"1a2b3"),
        "stated_1": case(b"1.3.6", 1),
        "stated_3": case(b"1.3.6", 3),
        "numbers_128": case(b"1." * 127 + b"1"),
        "numbers_129": case(b"1." * 128 + b"1"),
        "of_255": case(b"1." * 127 + b"1", room=255),
        "of_32_bits": case(b"1.3.4294967295"),
        "of_33_bits": case(b"1.3.4294967296"),
        "of_64_bits_and_more": case(b"1.99999999999999999999999"),
        "dot_last": case(b"1.3."),
        "empty": case(b""),
        "no_room": case(b"1.3", array=0, room=0),
        "zeros": case(b"000.0001"),
        "high_bytes": case(b"1\xff3"),
    }


def udp_reply():
    def exchange(*attempts, data=b"", room=28, sequence=0x1234):
        head = word(sequence) + octets("31 03 00") + word(len(data)) + word(room) + data
        return head + b"".join(attempts)

    def reply(data=b"", code=0xC4, size=None, kind=5):
        packet = b"MFPP0200ML01\0\0\x31" + bytes(
            [code, len(data) if size is None else size, 0, 0, 0]
        )
        return bytes([kind]) + word(len(packet) + len(data)) + packet + data

    def cut(length, kind=5):
        packet = reply(b"data")[3:][:length]
        return bytes([kind]) + word(length) + packet

    other = reply(kind=4)
    record = b"lab-desk".ljust(16, b"\0") + octets("02 56 44 56 58 10 0A 4D 00 0A 00 00")
    return {
        "accepted": exchange(reply(), data=record),
        "busy_twice": exchange(reply(code=0xD4), data=record),
        "silence": exchange(b"\0\0\0"),
        "failure": exchange(b"\1"),
        "late": exchange(b"\0\0", reply()),
        "echo": exchange(b"\2", data=record),
        "echo_of_600": exchange(b"\2", data=b"d" * 599, room=300),
        "other_sequence_three_times": exchange(other, other, other),
        "then_right": exchange(other, reply()),
        "data_of_255": exchange(reply(b"r" * 255), room=255),
        "data_past_room": exchange(reply(b"r" * 40)),
        "data_past_packet": exchange(reply(b"r", size=255), room=300),
        "data_without_buffer": exchange(reply(b"r"), room=1000),
        "none_without_buffer": exchange(reply(), room=1000),
        "no_room": exchange(reply(b"r"), room=0),
        "cut_to_0": exchange(cut(0), cut(0), cut(0)),
        "cut_to_13": exchange(cut(13), cut(14), cut(19)),
        "cut_to_19": exchange(cut(19)),
        "of_1536": exchange(reply(b"r" * 1516, size=255)),
        "of_1537": exchange(reply(b"r" * 1517, size=200)),
        "sequence_0": exchange(cut(0), sequence=0),
    }


def survey():
    def texts(model, vendor, name_):
        return b"\0" + b"".join(bytes([len(part)]) + part for part in (model, vendor, name_))

    def datagrams(*parts):
        return b"\1" + b"".join(word(len(part)) + part for part in parts)

    found = response(binding(octets("02 01 01")))
    seeds = {
        key: texts(model, b"Veltrana", b"PRINTER-12   ")
        for key, model in {
            "suffix": b"T55_E",
            "two_suffixes": b"A_B_C",
            "underscore_last": b"ABC_",
            "underscore_alone": b"_",
            "underscores": b"___",
            "suffix_and_more": b"T55_EU",
            "double": b"A__B",
            "around": b"_AB_",
            "none": b"S18",
            "empty": b"",
            "high_byte_behind": b"T_\xc3\xa9",
            "blank_behind": b"T_ ",
            "zero_inside": b"T55\0_E",
        }.items()
    }
    seeds["blank_texts"] = texts(b" \r\n", b"\x80\xff", b"")
    seeds["long_texts"] = texts(b"_" * 60, b"v" * 60, b"n" * 60)
    texts_ = [response(binding(text(value))) for value in (b"T55_E", b"Veltrana", b"desk")]
    seeds["three_scanners"] = datagrams(found, found, found, *(texts_ * 3))
    seeds["one_scanner_and_noise"] = datagrams(found, b"", b"\x30", *texts_)
    seeds["error_answer"] = datagrams(
        found, b"0", b"0", response(binding(octets("05 00")), error=octets("02 01 02"))
    )
    seeds["number_for_a_text"] = datagrams(found, b"0", b"0", response(binding(octets("02 01 41"))))
    seeds["text_of_256"] = datagrams(found, b"0", b"0", *[response(binding(text(b"t" * 256)))] * 3)
    seeds["suffixes_in_256"] = datagrams(
        found, b"0", b"0", *[response(binding(text(b"_t" * 128)))] * 3
    )
    seeds["text_of_257"] = datagrams(found, b"0", b"0", response(binding(text(b"t" * 257))))
    seeds["answer_without_variables"] = datagrams(response(), b"0", b"0", *[response()] * 3)
    return seeds


def rct_file():
    return {
        "german": b"[dlg101]\n111=Allgemein\n114=Speichern in:\n[dlg102]\n211=Netzwerk\n[string]\n1=x\n",
        "before_first_header": b"111=lost\n[dlg101]\n111=kept\n",
        "unknown_header": b"[dlg101]\n111=a\n[misc]\n112=b\n",
        "case": b"[DLG102]\n1=a\n[Dlg102]\n2=b\n[String]\n3=c\n",
        "key_0": b"[dlg101]\n0=x\nabc=x\n=x\nDIALOGINFO=Title\n65647=x\n",
        "numbers": b"[dlg65637]\n-1=a\n+5=b\n 7=c\n0x10=d\n12abc=e\n99999999999999999999=f\n",
        "equals_in_value": b"[dlg1]\n5=a=b\n6=Line\\nTwo\n7=\\q\n8=\\\n9=\\\\\\t\\r\n",
        "line_ends": b"[dlg1]\r\n1=a \r\n2=b\r\r\n3=c\r4=d\n\n\r\n5=e",
        "no_bracket": b"[dlg1\n1=a\n[string\n[dlg2]]\n2=b\n[]\n[dlg]\n3=c\n",
        "comments": b";[dlg1]\n[dlg1]\n;1=a\n ;2=b\n",
        "section_twice": b"[string]\n1=a\n[dlg0]\n2=b\n[string]\n",
        "empty_value": b"[string]\n1=\n",
        "zero_in_line": b"[dlg1]\n1=a\0b\n\0=2\n[dlg2\0]\n",
        "mark_of_utf8": b"\xef\xbb\xbf[string]\n1=a\n[dlg1]\n2=\xc3\xa4\n",
        "line_feed": b"\n",
        "line_of_1023": b"[dlg1]\n1=" + b"x" * 1020 + b"\n2=a\n",
        "line_of_1024": b"[dlg1]\n1=" + b"x" * 1021 + b"\n2=a\n",
        "long_line_cut_in_escape": b"[dlg1]\n1=" + b"x" * 1020 + b"\\n2=a\n",
        "long_line_cut_before_header": b"[dlg1]\n1=" + b"x" * 1021 + b"[dlg2]\n2=a\n",
        "line_of_64_kib": b"[dlg1]\n1=" + b"=" * 65536,
        "many_sections": b"".join(b"[dlg%d]\n%d=%d\n" % (i * 16, i, i) for i in range(60)),
    }


def rct_text():
    texts = {
        "line_feed": rb"Line\nTwo",
        "unknown": rb"\q",
        "lone": b"\\",
        "backslashes": rb"\\\\\n",
        "all": rb"\n\r\t\\",
        "plain": b"text",
        "none": b"",
        "utf8": b"\xc3\xa4\\\xc3\xa4",
    }
    locales = [
        "",
        "C",
        "d",
        "de",
        "en",
        "zh",
        "1x",
        "ja_JP.UTF-8",
        "sv_SE",
        "fil_PH",
        "POSIX",
        "/..",
        "x" * 300,
    ]
    seeds = {"text_" + key: b"\0" + value for key, value in texts.items()}
    for number, locale in enumerate(locales):
        seeds[f"lang_{number}"] = b"\1" + bytes([5, 2]) + locale.encode()
    seeds["lang_in_small_room"] = b"\1\0\0en"
    for size in (3, 4, 5):
        seeds[f"lang_en_in_{size}"] = b"\1" + bytes([size - 1, 2]) + b"en"
    return seeds


def settings():
    def values(*parts):
        return b"\1" + b"".join(word(len(part)) + part for part in parts)

    whole = b'scanpath="/home/ann/Scan"\nocrpath=""\npcname="ann-desk"\npcListUp="1"\n'
    files = {
        "whole": whole,
        "upper_case": whole.upper(),
        "empty": b"",
        "no_line_feed": whole[:-1],
        "quotes": b'scanpath="/a "b" c" trailing\n',
        "one_quote": b'scanpath="/abc\n',
        "no_quote": b'scanpath=/abc\nocrpath="/o"\n',
        "key_in_value": b'scanpath="/data/ocrpath"\nocrpath="/usr/bin/ocr"\n',
        "blanks": b'scanpath = "/abc"\n',
        "key_alone": b"scanpath",
        "key_and_equals": b"pcname=",
        "equals_in_next_line": b'pcname\nscanpath="x"\n',
        "name_of_600": b'pcname="' + b"n" * 600 + b'"\n',
        "path_of_511": b'scanpath="' + b"x" * 511 + b'"\n',
        "path_of_512": b'scanpath="' + b"x" * 512 + b'"\n',
        "name_to_repair": b'pcname="my pc/1"\n',
        "wide_name": b'pcname="caf\xc3\xa9"\n',
        "empty_name": b'pcname=""\n',
        "no_line_feeds": whole.replace(b"\n", b" "),
        "line_feeds": b"\n" * 300,
        "keys_over_and_over": b"pcname" * 100,
    }
    seeds = {key: b"\0" + value for key, value in files.items()}
    seeds["written"] = values(b"/home/ann/Scan", b"", b"ann-desk", b"1")
    seeds["written_quotes"] = values(b'"', b'a"b"', b"\x80", b"10")
    seeds["written_511"] = values(b"s" * 511, b"o" * 511, b"n" * 63, b"")
    return seeds


def pc_name():
    def case(name_, flags=0x20, allowed=b"ab", own=b"lab-desk"):
        return bytes([flags, len(allowed)]) + allowed + bytes([len(own)]) + own + name_

    return {
        "good": case(b"my-pc_1"),
        "blank": case(b"my pc/1"),
        "wide": case(b"caf\xc3\xa9"),
        "cut_character": case(b"abc\xe9"),
        "cut_character_of_4": case(b"abc\xf0"),
        "continuation_bytes": case(b"a\x80\xbfb"),
        "only_bad": case(b"/ /"),
        "empty": case(b""),
        "nameless": case(b"", own=b""),
        "own_wide": case(b"", own=b"caf\xc3\xa9"),
        "own_of_64": case(b"", own=b"h" * 64),
        "own_bad": case(b"", own=b"my pc.example"),
        "of_63": case(b"n" * 63),
        "of_64": case(b"n" * 64),
        "of_100_and_blank": case(b"n" * 100 + b" "),
        "of_511": case(b"n" * 511),
        "digits": case(b"a1~ /", 0x01),
        "letters": case(b"a1~ /", 0x02),
        "no_slash": case(b"a/b", 0x11),
        "printable": case(b"a~ }\x7f", 0x80),
        "printable_without_text": case(b"a", 0x80, b""),
        "nothing": case(b"a", 0),
        "zero_of_rule": case(b"a", 0x33, b"a"),
        "invalid_utf8": case(b"\xff\xfe\xc0\x80", 0x10),
        "cut_character_alone": case(b"\xe9"),
        "cut_characters_alone": case(b"\xf0\xf0"),
    }


def trimmed_text():
    return {
        "blanks_and_line_end": b"abc  \r\n",
        "all_blank": b"   ",
        "empty": b"",
        "one": b"a",
        "high_bytes_last": b"caf\xc3\xa9",
        "high_bytes_inside": b"caf\xc3\xa9s",
        "blanks_first": b"  a",
        "zero_inside": b"a\0b\0",
        "tilde": b"~\x7f",
        "exclamation": b"! ",
        "of_256": b"x" * 256,
    }


def seeds_of_all_targets():
    datagrams = dict(DATAGRAMS)
    return {
        "asn_parse": asn_parse(),
        "asn_build": asn_build(),
        "snmp_parse": datagrams,
        "snmp_build": {key: word(0x40) + value for key, value in records().items()},
        "simple_pdu": {
            **{"answer_" + key: b"\1\0" + value for key, value in datagrams.items()},
            **{"record_" + key: b"\1\1" + value for key, value in records().items()},
            "two_slots": b"\2\0" + datagrams["every_type"],
            "no_slots": b"\0\0" + datagrams["two_variables"],
            "eight_slots": bytes([8, 0]) + datagrams["every_type"],
        },
        "oid_text": oid_text(),
        "udp_reply": udp_reply(),
        "survey": survey(),
        "rct_file": rct_file(),
        "rct_text": rct_text(),
        "settings": settings(),
        "pc_name": pc_name(),
        "trimmed_text": trimmed_text(),
    }


def main():
    if len(sys.argv) > 1:
        print(__doc__)
        return 0 if sys.argv[1] == "--help" else 2
    for target, seeds in seeds_of_all_targets().items():
        folder = CORPUS / target
        folder.mkdir(parents=True, exist_ok=True)
        for key, value in seeds.items():
            (folder / key).write_bytes(value)
        print(f"{target}: {len(seeds)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
