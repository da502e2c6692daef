#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the hand-made inputs of every fuzz target into fuzz/corpus. Always writes the same bytes.

Inputs that the fuzzer found stay beside them under the names it gave them. With --large FOLDER it writes inputs of 1 MiB
there instead, which are not committed."""
import math
import os
import re
import struct
import sys

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def write(target, name, contents):
    os.makedirs(os.path.join(FOLDER, target), exist_ok=True)
    with open(os.path.join(FOLDER, target, name), "wb") as stream:
        stream.write(contents)


def audio_sets():
    lists = {
        "two-entries": b"a.wav\n\n# a comment\nb.wav\n",
        "no-last-newline": b"x/y.wav\n../z.wav",
        "absolute": b"/proc/self/exe\n/nowhere/at/all.wav\n/\n/dev/null\n",
        "carriage-returns": b"a.wav\r\n\r\n#c\r\nb b.wav \r\n",
        "comments-only": b"#a\n#\n\n",
        "blank-before-comment": b" #a\n \n\t\n",
        "zero-bytes": b"a\0b.wav\n\0\n/proc/self/exe\0x\n",
        "utf8-and-not": "gr\u00fc\u00dfe/\u97f3.wav\n".encode() + b"\xff\xfe\n",
        "dots": b".\n..\n./././a\n../../../../../../../proc/self/exe\n",
        "long-line": b"a/" * 2100 + b"\n",
        "separators": b"C:\\a.wav\n:\n\\\n//\n///proc//self/exe\n",
    }
    for name, contents in lists.items():
        write("AudioSetParserFuzzer", name, contents)


def descriptions():
    texts = [
        b"spectrum", b"SPECTRUM100Hz", b" spectrum200hz ( ) ", b"spectrum500hz()", b"spectrum|flatness",
        b"spectrum100hz | flatness", b"spectralrange(300,3400)", b"maxspectralranges(400, 800 ,1200)",
        b"TemporalMean_Mean_Amplitude", b"spectrum|TemporalMean_Mean_Amplitude", b"spectrum(1)", b"spectrum(,)",
        b"spectrum(1", b"spectrum)", b"(1)", b"spectrum((1))", b"spectrum(1)x", b"spectrum(1)(2)", b"a b ( c d , e )",
        b"spectrum||flatness", b"|", b"flatness|spectrum", b"zerocrossingrate(3)", b"spectrum|spectrum|spectrum",
        b"deltatoslidingmean", b"energyhistogram", b"spectrum\0(1)", b"\t spectrum\t", b"name, with (comma)",
        b"spectrum" + b"|flatness" * 60,
    ]
    for index, text in enumerate(texts):
        write("FeatureDescriptionFuzzer", "text-%02d" % index, text)


def samples(count):
    return [math.sin(0.3 * index) * 0.9 for index in range(count)]


def pcm16(values):
    return b"".join(struct.pack("<h", int(32767 * value)) for value in values)


def wav(code, bits, data, rate=8000, channels=1, claimed=None):
    align = channels * bits // 8
    fmt = struct.pack("<HHIIHH", code, channels, rate, rate * align, align, bits)
    size = len(data) if claimed is None else claimed
    body = b"WAVE" + b"fmt " + struct.pack("<I", len(fmt)) + fmt + b"data" + struct.pack("<I", size) + data
    return b"RIFF" + struct.pack("<I", len(body)) + body


def au(code, data, rate=8000):
    return b".snd" + struct.pack(">IIIII", 24, len(data), code, rate, 1) + data


def sounds():
    read = bytes([0, 99, 6, 40, 3, 1])  # chunks of 100 and 7, a seek, 3 ms overlap, factor 2
    bytes8 = bytes((index * 37) % 256 for index in range(300))
    files = {
        "pcm16": wav(1, 16, pcm16(samples(300))),
        "pcm8": wav(1, 8, bytes8),
        "pcm24": wav(1, 24, bytes8),
        "pcm32": wav(1, 32, bytes8),
        "mu-law": wav(7, 8, bytes8),
        "a-law": wav(6, 8, bytes8),
        "float": wav(3, 32, b"".join(struct.pack("<f", value) for value in samples(80))),
        "double": wav(3, 64, b"".join(struct.pack("<d", value) for value in samples(40))),
        "no-frames": wav(1, 16, b""),
        "chunk-multiple": wav(7, 8, bytes8[:200]),
        "stereo": wav(1, 16, pcm16(samples(40)), channels=2),
        "claims-too-much": wav(1, 16, pcm16(samples(60)), claimed=0x7FFFFFF0),
        "claims-too-little": wav(7, 8, bytes8, claimed=10),
        "odd-byte": wav(1, 16, pcm16(samples(20)) + b"x"),
        "rate-0": wav(1, 16, pcm16(samples(20)), rate=0),
        "rate-huge": wav(1, 16, pcm16(samples(20)), rate=0x7FFFFFFF),
        "au-mu-law": au(1, bytes8),
        "au-pcm16": au(3, bytes8),
        "au-double": au(7, b"".join(struct.pack(">d", value) for value in samples(40))),
        "header-only": wav(1, 16, b"")[:20],
        "text": b"This is no sound at all.\n",
        "ima-adpcm": wav(17, 4, bytes8)[:12] + b"fmt " + struct.pack("<IHHIIHHHH", 20, 17, 1, 8000, 4055, 256, 4, 2, 505)
        + b"fact" + struct.pack("<II", 4, 505) + b"data" + struct.pack("<I", 256) + bytes8[:256],
        "gsm610": b"RIFF" + struct.pack("<I", 4 + 28 + 12 + 8 + 130) + b"WAVE" + b"fmt "
        + struct.pack("<IHHIIHHHH", 20, 49, 1, 8000, 1625, 65, 0, 2, 320)
        + b"fact" + struct.pack("<II", 4, 640) + b"data" + struct.pack("<I", 130) + bytes8[:130],
    }
    for name, contents in files.items():
        write("AudioFileReaderFuzzer", name, contents + read)
    write("AudioFileReaderFuzzer", "seek-rounds-up", wav(7, 8, bytes8 + b"x") + bytes([0, 99, 6, 99, 3, 1]))
    write("AudioFileReaderFuzzer", "chunk-multiple-read", files["chunk-multiple"] + bytes([0, 99, 199, 255, 15, 0]))


CONFIGURE, RESET, COPY, PUSH, POP = 0, 1, 2, 3, 5


def windowers():
    value = struct.pack(">d", 0.25)

    def config(kind, window, overlap, dc=False):
        return bytes([CONFIGURE, kind | (128 if dc else 0), window, overlap])

    def push(count):
        return bytes([PUSH, count]) + value

    pop = bytes([POP])
    write("LinearAudioWindowerFuzzer", "defaults", push(100) + pop + push(28) + pop + push(200) + pop + pop)
    write("LinearAudioWindowerFuzzer", "overlap", config(0, 30, 10) + bytes([RESET]) + push(239) + pop * 2 + push(240) + pop * 3)
    write("LinearAudioWindowerFuzzer", "no-offset", config(0, 16, 8, True) + push(239) + pop * 3)
    write("LinearAudioWindowerFuzzer", "refused", config(0, 16, 16) + push(239) + pop + config(0, 16, 0) + pop)
    write("LinearAudioWindowerFuzzer", "one-sample", config(7, 0, 0) + push(5) + pop * 6)
    write("LinearAudioWindowerFuzzer", "negative-hop", config(5, 10, 13) + push(5) + pop * 6)
    write("LinearAudioWindowerFuzzer", "copies", config(4, 20, 5) + push(100) + pop + bytes([COPY]) + pop + push(50) + bytes([COPY]) + pop * 4)
    write("LinearAudioWindowerFuzzer", "long", config(4, 33, 32) + (push(255) + pop * 9) * 6)
    write("LinearAudioWindowerFuzzer", "not-a-number",
          config(4, 8, 2, True) + bytes([PUSH, 20]) + struct.pack(">d", math.nan) + pop * 3
          + bytes([PUSH, 20]) + struct.pack(">d", math.inf) + pop * 4)
    write("LinearAudioWindowerFuzzer", "reconfigured", push(200) + pop + config(4, 50, 10) + pop + config(4, 7, 6) + pop * 9)
    write("LinearAudioWindowerFuzzer", "wraps-around", bytes([CONFIGURE, 63]) + b"\xff" * 24 + push(200) + pop * 2)


def spectra():
    def doubles(values):
        return b"".join(struct.pack(">d", value) for value in values)

    for power in range(10):
        write("SpectrumFuzzer", "size-%d" % (2 << power), bytes([power, 7]))
    write("SpectrumFuzzer", "tone-256-40-bands", bytes([7, 39]) + doubles(samples(256)))
    write("SpectrumFuzzer", "silence", bytes([6, 19]) + doubles([0.0] * 128))
    write("SpectrumFuzzer", "alternating", bytes([5, 7]) + doubles([1.0, -1.0] * 32))
    write("SpectrumFuzzer", "tiny", bytes([4, 3]) + doubles([5e-324, -5e-324] * 16))
    write("SpectrumFuzzer", "huge", bytes([4, 3]) + doubles([1e308, -1e308, 1e300, 1.0] * 8))
    write("SpectrumFuzzer", "infinite", bytes([4, 3]) + doubles([math.inf, 1.0, -math.inf, math.nan] * 8))
    write("SpectrumFuzzer", "empty-window", bytes([192, 3]))
    write("SpectrumFuzzer", "one-sample", bytes([193, 3]) + doubles([0.5]))
    write("SpectrumFuzzer", "three-samples", bytes([195, 3]) + doubles([0.5, 0.25, -1.0]))
    write("SpectrumFuzzer", "no-power-of-two", bytes([251, 3]))


def configurations():
    texts = [
        b"1", b"-1", b"+7", b"+-7", b"--1", b" 42\t", b"1.5", b".5", b"5.", b".", b"1e5", b"1e", b"1e+", b"1e-400",
        b"1e400", b"-1e400", b"inf", b"-infinity", b"nan", b"-nan", b"nan(1)", b"0x10", b"0x1p3", b"1 2", b"1\n", b"\n1",
        b"", b" ", b"2147483647", b"2147483648", b"-2147483649", b"9223372036854775807", b"9223372036854775808",
        b"18446744073709551615", b"18446744073709551616", b"4.9e-324", b"2.4e-324", b"2.5e-324",
        b"1.7976931348623157e308", b"1.7976931348623159e308", b"0.1\0.2", b"00012", b"-0", b"-0.0", b"1,5", b"1e5x",
        b"9" * 400, b"0." + b"0" * 330 + b"1", b"179769313486231580793728971405301e276",
    ]
    values = [0.0, -0.0, 1.0, 0.1, 2147483647.0, 2147483648.0, -2147483648.0, 1e300, 5e-324, math.inf, math.nan, 1.5,
              9223372036854775808.0, 18446744073709551616.0]
    for index, text in enumerate(texts):
        value = struct.pack(">d", values[index % len(values)])
        write("ConfigurationFuzzer", "text-%02d" % index, value + b"\x03key" + text)


class VectorProgram:
    """Operations in the target's encoding, where a position takes no byte while the vector is empty."""

    def __init__(self):
        self.contents = b""
        self.size = 0

    def place(self, position):
        return bytes([position]) if self.size > 0 else b""

    def operation(self, code, arguments=b"", position=0, grows=0):
        self.contents += bytes([code]) + self.place(position) + arguments
        self.size += grows
        return self

    def push(self, *values):
        for value in values:
            self.operation(0, struct.pack(">d", value), grows=1)
        return self

    def own(self, position, first, last):
        return self.operation(2, bytes([first, last]), position, grows=last - first)

    def words(self, code, values, position=0):
        return self.operation(code, bytes([len(values)]) + bytes(values), position, grows=len(values))


def vectors():
    def counted(count):
        return VectorProgram().push(*[1.0 + index for index in range(count)])

    programs = {
        "pushes": counted(20),
        "pops": counted(3).operation(1, grows=-1).operation(1, grows=-1).operation(1, grows=-1).operation(1).push(1.0),
        "own-range-at-end": counted(4).own(4, 0, 4).own(8, 0, 8),
        "own-range-in-front": counted(6).own(0, 3, 6).own(0, 0, 9),
        "own-range-inside": counted(6).own(3, 1, 5).own(4, 2, 9).own(1, 0, 1),
        "own-range-behind": counted(6).operation(8, b"\x00\x40").own(1, 2, 5).own(5, 1, 4).own(2, 2, 2),
        "own-range-empty": VectorProgram().own(0, 0, 0).push(1.0).own(1, 1, 1),
        "erase": counted(12).operation(6, b"\x04", 3, grows=-4).operation(6, b"\x00", 8).operation(6, b"\x08", 0, grows=-8),
        "bytes": counted(3).operation(3, struct.pack(">ddd", 7.0, math.nan, -math.inf), 1, grows=3),
        "deque": counted(3).words(4, [9, 8, 7], 1).words(4, [], 6),
        "words": VectorProgram().words(5, list(range(40))).words(5, [1, 2], 40),
        "resize": counted(3).operation(7, b"\x00\x05", grows=2).operation(7, b"\x00\x01", grows=-4).operation(7, b"\x01\x00"),
        "reserve-clear": counted(3).operation(8, b"\x00\x64").operation(9, grows=-3).push(4.0),
        "copies": counted(3).operation(11, b"\0").push(4.0).operation(11, b"\2").operation(11, b"\1").operation(11, b"\5")
        .operation(11, b"\3").operation(11, b"\4").operation(11, b"\5"),
        "own-value": VectorProgram().push(5.0, 6.0).operation(12, grows=1).operation(12, grows=1).operation(12, grows=1),
        "extremes": VectorProgram().operation(13).push(1.0, -7.0, 7.0, 7.0, -7.0).operation(13).operation(10).operation(13),
        "signed-zeros": VectorProgram().push(0.0, -0.0, -0.0, 0.0).operation(13).operation(10),
    }
    for name, program in programs.items():
        write("DoubleVectorFuzzer", name, program.contents)


def region_texts():
    grid = ('File type = "ooTextFile"\nObject class = "TextGrid"\n\nxmin = 0 \nxmax = 2 \ntiers? <exists> \nsize = 2 \n'
            'item []: \n    item [1]:\n        class = "IntervalTier" \n        name = "a" \n        xmin = 0 \n'
            '        xmax = 2 \n        intervals: size = 2 \n        intervals [1]:\n            xmin = 0 \n'
            '            xmax = 0.5 \n            text = "" \n        intervals [2]:\n            xmin = 0.5 \n'
            '            xmax = 2 \n            text = "say ""no""" \n    item [2]:\n        class = "TextTier" \n'
            '        name = "b" \n        xmin = 0 \n        xmax = 2 \n        points: size = 1 \n'
            '        points [1]:\n            number = 1e-09 \n            mark = "BEEP" \n')
    short = ('File type = "ooTextFile short"\n"TextGrid"\n0\n2\n<exists>\n1 ! one\n"IntervalTier"\n"a"\n0\n2\n3\n0\n1\n'
             '"A"\n0.5\n1\n"B"\n0.5\n0.5\n"C"\n')
    texts = {
        "csv": b"index,type,start,stop\n0,FEMALE,0.5,1\n1,\"a,\"\"b\"\"\nc\",2.25,1e22\n",
        "csv-windows": b"\xef\xbb\xbfstop, Start ,note,TYPE\r\n2,-1,\"x,y\",MALE\r\n\r\n",
        "csv-plain": b"MALE,1,2\nFEMALE,3,4",
        "csv-files": b"file,type,start,stop\na.wav,A,1,2\nb.wav,A,1,2\n",
        "csv-columns": b"," * 1001,
        "csv-quote": b"MALE,1,2\n\"MALE,1,2\n",
        "json": b'[\n  {"index":0,"type":"FEMALE","start":0.5,"stop":1},\n  {"type":"\\u00e9\\n","start":2,"stop":1e3}\n]\n',
        "json-nested": b'[{"x":{"start":["y",[{"type":1}]]},"stop":2,"type":"MALE","start":-0}]',
        "json-deep": b'[{"x":' + b"[" * 500,
        "json-nan": b'[{"start":NaN}]',
        "audacity": b"0.5\t1\tFEMALE\n\\\t300.0\t3400.0\n2\t2\tBEEP\n3\t4\t\n",
        "audacity-comma": b"0,500000\t1,250000\tA\r\n2\t3\tB\tC\r\n",
        "audacity-signs": b"0.5\t1\tA\n1,234\t2000\tB\n",
        "textgrid": grid.encode(),
        "textgrid-short": short.encode(),
        "textgrid-utf16-le": b"\xff\xfe" + grid.replace("BEEP", "\U0001f600\u00e9").encode("utf-16-le"),
        "textgrid-utf16-be": b"\xfe\xff" + short.encode("utf-16-be") + b"\xd8",
        "textgrid-count": b'"ooTextFile" "TextGrid" 0 3 <exists> 18446744073709551615 "IntervalTier" "a" 0 3 0',
    }
    for name, contents in texts.items():
        write("RegionFormatFuzzer", name, contents)


def expressions():
    formulas = [
        b"flatness(spectrum(x)) < 0.2",
        b"spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)",
        b'maxSpectralRanges(spectrum(x), frequenciesList="440, 480")[0] > .1 and not a == b',
        b"spectralRange(spectrum(x))", b"concat(silenceRatio(x), lowFreqEnergyRatios(spectrum(x)), peaks(spectrum(x)))",
        b"harmonicProduct(spectrum(x)) / sum(harmonicProduct(spectrum(x)))", b"a + b * c - -d / e", b"((a - b) - c) - (d - e)",
        b"not not a or b and c", b"(a < b) == (c >= d)", b"a < b < c", b"-v[0][size(v) - 1]", b"(-v)[not 0]",
        b"min(v) + max(v) - mean(v) * sum(v) / size(v)", b"log(abs(sqrt(x)))", b"1e400", b"1e-9 + 5e-324 + .5 + 5. + 1E+3",
        b"", b" \t\r\n", b"1 +", b"spectrm(x)", b"max()", b"max(x, n=1)", b'spectralRange(x, widthHz="1', b"a\xc3\xa4", b"v[1",
        b"spectralRange(widthHz=-1e15, frequencyHz=1e15, x)", b"maxSpectralRanges(x, frequenciesList=-0.0)", b"a" + b"+a" * 400,
        b"(" * 300, b"-" * 256 + b"a", b"abs(" * 256 + b"a" + b")" * 256, b"1+(" * 200 + b"a" + b")" * 200, b"a" + b"[0]" * 257,
        b"x * x + x * x + (x * x)[0]", b"x + e", b"a and b or not c != d", b"1.2.3", b"0x10", b"inf + nan",
    ]
    for index, formula in enumerate(formulas):
        write("ExpressionFuzzer", "formula-%02d" % index, formula)


def chunk(name, data, claimed=None, padding=b"\0"):
    size = len(data) if claimed is None else claimed
    return name + struct.pack("<I", size) + data + (padding if len(data) % 2 else b"")


def form(*chunks, size=None):
    body = b"WAVE" + b"".join(chunks)
    return b"RIFF" + struct.pack("<I", len(body) if size is None else size) + body


def point(identifier, sample):
    return struct.pack("<II4sIII", identifier, sample, b"data", 0, 0, sample)


def cue(*points, count=None):
    return chunk(b"cue ", struct.pack("<I", len(points) if count is None else count) + b"".join(points))


def labelled(identifier, length):
    return chunk(b"ltxt", struct.pack("<II4sHHHH", identifier, length, b"rgn ", 0, 0, 0, 0))


def label(identifier, text):
    return chunk(b"labl", struct.pack("<I", identifier) + text + b"\0")


def recordings():
    head = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 8000, 16000, 2, 16)) + chunk(b"data", bytes(range(64)))
    pairs = chunk(b"LIST", b"adtl" + labelled(1, 4) + label(1, b"MALE") + labelled(2, 8) + label(2, b"SF_12"))
    labels_first = chunk(b"LIST", b"adtl" + label(1, b"cpa_fax") + label(2, b"BEEP") + labelled(1, 4) + labelled(2, 8))
    two = cue(point(1, 2), point(2, 20))
    nested = chunk(b"labl", b"deep")
    for _ in range(66):
        nested = chunk(b"LIST", b"nest" + nested)
    files = {
        "plain": form(head),
        "pairs": form(head, two, pairs),
        "labels-first": form(head, labels_first, two),
        "behind": form(head, two, pairs) + b"ID3 tag",
        "odd-padding": form(chunk(b"odd1", b"abc", padding=b"P"), head, chunk(b"LIST", b"INFO" + chunk(b"ISFT", b"x", padding=b""))),
        "list-tail": form(head, chunk(b"LIST", b"adtl" + label(1, b"MALE") + b"tail5")),
        "list-cut": form(head, chunk(b"LIST", b"INFO" + chunk(b"ICMT", b"abc", claimed=1000, padding=b""))),
        "tiny-containers": form(head, chunk(b"LIST", b"ab"), chunk(b"cue ", b"abc"), chunk(b"LIST", b"")),
        "form-0": form(head, two, pairs, size=0),
        "form-unknown": form(head, two, pairs, size=0xFFFFFFFF),
        "form-too-small": form(head, two, pairs, size=50),
        "form-too-large": form(head, two, pairs, size=5000),
        "form-within": form(head, two, pairs, size=4 + 24),
        "data-unknown": form(head[:24], chunk(b"data", bytes(range(64)), claimed=0xFFFFFFFF), size=0xFFFFFFFF),
        "data-0": form(head[:24], chunk(b"data", bytes(range(64)), claimed=0), size=0),
        "cut-in-cue": form(head, two)[:-5],
        "count-too-large": form(head, cue(point(1, 2), count=0xFFFFFFFF), pairs),
        "count-too-small": form(head, cue(point(1, 2), point(2, 20), count=1), pairs),
        "nested": form(head, nested),
        "nested-form": form(head, chunk(b"RIFF", b"WAVE" + chunk(b"note", b"n."))),
        "notes-only": form(head, chunk(b"LIST", b"adtl" + chunk(b"note", struct.pack("<I", 1) + b"hello\0"))),
        "other-in-list": form(head, two, chunk(b"LIST", b"adtl" + chunk(b"file", b"f.") + labelled(1, 4) + label(1, b"MALE")
                                               + labelled(2, 4) + label(2, b"MALE"))),
        "two-lists": form(head, two, chunk(b"LIST", b"adtl" + label(1, b"MALE") + label(2, b"MALE")),
                          chunk(b"LIST", b"adtl" + labelled(1, 4) + labelled(2, 4))),
        "gap": form(head, cue(point(1, 2), point(4, 20)), chunk(b"LIST", b"adtl" + labelled(1, 4) + label(1, b"MALE")
                                                                + labelled(4, 8) + label(4, b"BEEP"))),
        "zero": form(head, cue(point(0, 2)), chunk(b"LIST", b"adtl" + labelled(0, 4) + label(0, b"MALE"))),
        "huge-identifier": form(head, cue(point(0xFFFFFFFF, 2)), pairs),
        "beyond-the-audio": form(head, cue(point(1, 0xFFFFFFF0), point(2, 31)), pairs),
        "long-region": form(head, cue(point(1, 2)), chunk(b"LIST", b"adtl" + labelled(1, 0xFFFFFFFE) + label(1, b"MALE"))),
        "no-label": form(head, two, chunk(b"LIST", b"adtl" + labelled(1, 4) + labelled(2, 4))),
        "unknown-label": form(head, cue(point(1, 2)), chunk(b"LIST", b"adtl" + labelled(1, 4) + label(1, b"dog"))),
        "short-records": form(head, cue(point(1, 2)), chunk(b"LIST", b"adtl" + chunk(b"ltxt", b"short") + chunk(b"labl", b"x")
                                                            + labelled(1, 4) + label(1, b"MALE"))),
        "stereo": form(chunk(b"fmt ", struct.pack("<HHIIHH", 1, 2, 8000, 32000, 4, 16)), chunk(b"data", b"abcd")),
        "bits-7": form(chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 8000, 8000, 1, 7)), chunk(b"data", b"abcd")),
        "rate-0": form(chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 0, 0, 2, 16)), chunk(b"data", b"abcd")),
        "rate-1": form(chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 1, 1, 1, 8)), chunk(b"data", b"abcd"), two, pairs),
        "rf64": b"RF64" + form(head)[4:],
        "rifx": b"RIFX" + form(head)[4:],
        "avi": b"RIFF" + struct.pack("<I", 4) + b"AVI ",
    }
    for index, (name, contents) in enumerate(files.items()):
        write("IFFParserFuzzer", name, contents + bytes([3, 0x55, 0, 0]))
        write("AudioAnnotationFuzzer", name, contents)
        # Operation, flags (order of labels, and whether it is done on a working copy), type, start and length.
        edit = bytes([index % 6, (index // 6 % 2) | (0xE0 if index % 4 == 3 else 0), 0x0F, 0xA2 + index, 2 * index, 40, 0, 0])
        write("AudioAnnotationEditFuzzer", name, contents + edit)
    for operation in range(6):
        for safe in (0, 0xE0):
            write("AudioAnnotationEditFuzzer", "operation-%d-%d" % (operation, safe >> 7),
                  files["pairs"] + bytes([operation, safe, 0x0F, 0xB0, 5, 20, 0, 0]))


def types():
    for index, text in enumerate([b"cpa_human", b"SF_12abc", b"SF_ 007", b"SF_-3", b"SF_4000", b"SF_4001", b"SF_+5", b"sf_5",
                                  b"SF_", b"SF_99999999999999999999", b"OTHER", b"dtmf_square", b"TEST5_SIT_UNKNOWN", b"BEEP\0x",
                                  b"???AnnotatedFile_AnnotationType???", b"DTMF_\xb1", b" MALE"]):
        write("AnnotationTypeFuzzer", "text-%02d" % index, text)
    for value in (0, 1, 4000, 4001, 4002, 4290, 4291, 0xFFFFFFFF, 0x80000000):
        write("AnnotationTypeFuzzer", "value-%d" % value, struct.pack(">I", value))


def features():
    # Each of the 22 features, with parameters where it takes some, over windows of every kind.
    parameters = {0: b"\x01\x01\x07", 6: b"\x00\x03\xe8\x00\x00\x64", 7: b"\x01\x00\x01\xb8\x00\x01\xe0"}
    values = struct.pack(">dddddddd", 0.5, -0.25, 0.0, -0.0, math.inf, math.nan, 5e-324, -1e308)
    for index in range(22):
        for kind in range(4):
            write("FeatureFuzzer", "feature-%02d-%d" % (index, kind),
                  bytes([index]) + parameters.get(index, b"") + bytes([4, 2, kind]) + (values if kind else b""))
    write("FeatureFuzzer", "range-beyond", b"\x06\x0f" + b"\xff" * 8 + b"\x0f" + b"\xff" * 8 + bytes([7, 1, 2]))
    write("FeatureFuzzer", "range-at-0", b"\x06\x01\x00\x01\x00" + bytes([7, 1, 2]))
    write("FeatureFuzzer", "empty-window", bytes([5, 128, 3, 1]))


def archives():
    def text(contents):
        return bytes([len(contents)]) + contents

    spread = bytes([9]) + bytes([0, 1, 2, 3])  # a computer with inputs and four features
    names = bytes([11, 7]) + text(b"spectrum | flatness") + bytes([0x80 + 0x20]) + text(b"tone") + text(b"<&\"]]>\n") \
        + bytes([0x20]) + text(b"an output") + bytes([0x87]) + text(b"unknown") + text(b"an output")
    for kind, form in enumerate(("text", "xml", "binary")):
        write("ComputerArchiveFuzzer", "spread-" + form, bytes([8 * kind]) + spread)
        write("ComputerArchiveFuzzer", "names-" + form, bytes([8 * kind]) + names)
        for place in (0, 1, 50, 200, 60000):
            write("ComputerArchiveFuzzer", "cut-%s-%d" % (form, place), bytes([8 * kind + 2]) + struct.pack(">H", place) + spread)
    write("ComputerArchiveFuzzer", "settings", bytes([3, 0, 15, 0, 8, 0, 31, 64, 1]))
    for name, kind in (("text", 4), ("xml", 132)):
        write("ComputerArchiveFuzzer", "unchanged-" + name, bytes([kind]) + spread)
        write("ComputerArchiveFuzzer", "changed-" + name, bytes([kind]) + spread + bytes([2, 0, 40, 65, 4, 0, 60, 1, 1, 80, 3, 65, 66, 67]))
    folder = os.path.join(os.path.dirname(FOLDER), "..", "tests", "data")
    for name, kind in (("computer.txt", 6), ("computer.xml", 134), ("computer.inputs.txt", 6), ("computer.inputs.xml", 134)):
        with open(os.path.join(folder, name), "rb") as stream:
            write("ComputerArchiveFuzzer", name, bytes([kind]) + stream.read())


def label_maps():
    texts = {
        "map": b"label,type\nlady,FEMALE\ncough,\n\0lady\ncough\nMALE",
        "no-header": b" lady ,\tfemale\r\n\"a,\"\"b\"\"\",BEEP\0lady\na,\"b\"",
        "unknown": b"lady,FEMALE\n\0dog\ndog\n\x1b[31m\nMAEL",
        "two-types": b"lady,FEMALE\nlady,MALE\n",
        "no-type": b"lady,woman\n",
        "three-columns": b"a,b,c\n",
        "one-wrong-label-often": b"\0" + b"MAEL\n" * 60,
        "byte-order-mark": b"\xef\xbb\xbflabel,type\rA,MALE\r",
        "open-quote": b"\"lady,FEMALE\n",
        "behind-quote": b"\"lady\"x,FEMALE\n",
        "empty": b"\0MALE\n\nSF_12\nSF_5000",
    }
    for name, contents in texts.items():
        write("LabelMapFuzzer", name, contents)


def table_descriptions():
    head = (b'{"corvana_table":1,"version":"0.1.0","format":"csv","configuration":{"window_ms":16,"overlap_ms":0,'
            b'"suppress_dc":false,"sample_rate":null,"labels":false,"features":["spectrum|flatness"],"formulas":'
            b'[{"name":"a","formula":"mean(x)"}]},"inputs_total":2,"inputs_before":0,"inputs_digest":"000000ff",'
            b'"sample_rate":8000,"rows":3,"bytes":99,"checksum":"cbf29ce4","columns":['
            b'{"name":"spectrum|flatness","unit":"ratio"},{"name":"a","unit":null}],"inputs":[\n')
    inputs = b'{"file":"a.wav","rows":3},\n{"file":"\xef\xbf\xbd","file_hex":"ff","rows":0,"fault":"is a folder"}\n]}\n'
    part = head.replace(b'"inputs_total"', b'"shard":{"index":3,"of":4},"inputs_total"').replace(b'before":0', b'before":1')
    npy = head.replace(b'"csv"', b'"npy"').replace(b',"columns"', b',"times_checksum":"01234567","columns"')
    one = inputs[:25] + b"\n]}\n"
    texts = {
        "table": head + inputs,
        "part": part.replace(b'"rows":3', b'"rows":0') + b"]}\n",
        "npy": npy + inputs,
        "no-inputs": head.replace(b'total":2', b'total":0').replace(b'"rows":3', b'"rows":0') + b"]}\n",
        "one-missing": head + one,
        "cut": head + inputs[:-4],
        "more": head + inputs + b"\n",
        "negative": head.replace(b'"rows":3', b'"rows":-3') + inputs,
        "huge": head.replace(b'"bytes":99', b'"bytes":99999999999999999999') + inputs,
        "no-hex": head + inputs.replace(b'"ff"', b'"f"'),
        "shard-0": part.replace(b'"index":3', b'"index":0') + inputs,
        "deep": b'{"corvana_table":' + b"[" * 2000 + b',"inputs":[\n',
        "empty": b"",
    }
    for name, contents in texts.items():
        write("TableDescriptionFuzzer", name, contents)


def command_words():
    """The words of CommandLineFuzzer.cpp in their order, which is their code."""
    with open(os.path.join(os.path.dirname(FOLDER), "CommandLineFuzzer.cpp"), encoding="utf-8") as stream:
        source = stream.read()
    block = source.split("s_aszWords[] = {", 1)[1].split("};", 1)[0]
    return re.findall(r'"([^"]*)"', block)


def command_lines():
    words = command_words()
    lines = [
        "", "--help", "--version", "help", "help annotations add", "features call.wav", "features -f spectrum two.wav",
        "features -f spectrum|flatness -f silenceratio|deltatoslidingmean call.wav two.wav -o out.csv",
        "features --list list.txt --format jsonl --labels", "features --labels call.wav -q",
        "features --expr n=x[0] --window-ms 8 --overlap-ms 1 --suppress-dc call.wav",
        "features --save-config conf.xml -f spectrum", "features -", "features call.wav -o call.wav", "features nothing.wav broken.wav",
        "features --sample-rate 8000 --read-factor 2 call.wav --progress always", "features --log-level debug call.wav -v",
        "eval", "eval x", "info call.wav two.wav", "info --json broken.wav", "list-features --json", "list-functions",
        "annotations", "annotations list call.wav two.wav --format textgrid", "annotations list --list list.txt --format json",
        "annotations add call.wav MALE 0.001 0.004", "annotations add call.wav two.wav cpa_human 0 1 --clip",
        "annotations add call.wav SF_12 0 0.004 --interop -n", "annotations merge call.wav two.wav", "annotations copy two.wav call.wav",
        "annotations clear call.wav --match .*", "annotations clear call.wav two.wav broken.wav", "annotations check call.wav broken.wav --json",
        "annotations check --fix broken.wav", "annotations check --fix -n broken.wav call.wav", "annotations export call.wav",
        "annotations export call.wav -o out.TextGrid", "annotations export --folder folder call.wav two.wav --format audacity",
        "annotations import labels.csv call.wav --map map.csv", "annotations import labels.csv call.wav",
        "annotations import --folder folder call.wav --append", "annotations stats call.wav two.wav --format csv",
        "annotations diff call.wav two.wav --tolerance 0.001", "annotations diff --json call.wav call.wav", "annotations types --json",
        "annotations list nothing.wav --save-notes out.csv", "annotations clear call.wav --save-notes out.csv",
        "doctor", "doctor --json", "help plot", "plot call.wav -o out.png --width 400", "plot call.wav two.wav -o out.svg -f spectrum",
        "plot --format png call.wav broken.wav -o -", "plot call.wav --from 0.001 --to 0.004 --height 400 --expr n=x[0] -o out.pdf",
        "plot call.wav -o two.wav", "report call.wav two.wav -o out.html --window-ms 8", "report --no-audio --list list.txt -o out.html",
        "report nothing.wav broken.wav -o out.html -f spectrum|flatness", "plot call.wav --width 1 -o out.gif",
    ]
    for index, line in enumerate(lines):
        code = b""
        for word in line.split():
            code += bytes([words.index(word)]) if word in words else bytes([230, len(word)]) + word.encode()
        write("CommandLineFuzzer", "line-%02d" % index, code)
    write("CommandLineFuzzer", "attached", bytes([words.index("features"), 245, 4]) + b"16.5" + bytes([words.index("call.wav")]))
    write("CommandLineFuzzer", "control-characters", bytes([words.index("info"), 230, 5]) + b"\x1b[31m" + bytes([230, 3]) + b"a\nb")


def large_inputs():
    """Inputs of 1 MiB, for the limits of time and memory: of what costs most for each byte."""
    size = 1 << 20

    def fill(piece, head=b"", tail=b""):
        return head + piece * ((size - len(head) - len(tail)) // len(piece)) + tail

    def region_list(order):
        count = (size - 200) // 68
        points = [point(1 + index, index % 32) for index in range(count)]
        texts = [labelled(1 + index, 1) for index in range(count)]
        labels = [label(1 + index, b"BEEP") for index in range(count)]
        pairs = b"".join(text + name for text, name in zip(texts, labels)) if order else b"".join(labels + texts)
        return form(head, cue(*points), chunk(b"LIST", b"adtl" + pairs))

    head = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, 8000, 16000, 2, 16)) + chunk(b"data", bytes(range(64)))
    deep = b""
    for _ in range(62):
        deep = chunk(b"LIST", b"nest" + deep)
    wavs = {
        "empty-chunks": form(fill(chunk(b"abcd", b""), head)),
        "tiny-labels": form(head, fill(chunk(b"labl", b""))),
        "empty-lists": form(head, fill(chunk(b"LIST", b"adtl"))),
        "deep-lists": form(head, fill(deep)),
        "regions": region_list(True),
        "regions-apart": region_list(False),
        "cue-chunks": form(head, fill(cue(point(1, 3)))),
        "gaps": form(head, cue(*[point(1048576 - index, 3) for index in range(1000)])),
        "audio": form(head[:24], chunk(b"data", bytes(size - 100))),
        "trailing": form(head) + bytes(size - 200),
        "hidden-chunks": form(head, fill(b"odd1\x01\0\0\0x")),
    }
    for name, contents in wavs.items():
        write("IFFParserFuzzer", name, contents + bytes([3, 0x55, 0, 0]))
        write("AudioAnnotationFuzzer", name, contents)
        write("AudioFileReaderFuzzer", name, contents + bytes([0, 99, 6, 40, 3, 1]))
        for operation in range(6):
            write("AudioAnnotationEditFuzzer", "%s-%d" % (name, operation), contents + bytes([operation, 0, 15, 160, 5, 20, 0, 0]))
    texts = {"a": b"a", "digits": b"9", "dots": b".", "open": b"(", "open-calls": b"abs(", "sum": b"a+", "sums": b"(a+", "minus": b"-",
             "index": b"a[0]", "brackets": b"[", "object": b'{"a":', "regions": b'{"type":"MALE","start":1,"stop":2},', "quotes": b'"',
             "lines": b"\n", "returns": b"\r", "rows": b"MALE,1,2\n", "tracks": b"1\t2\tMALE\n", "frequencies": b"\\\t1\t2\n",
             "points": b'1 2 "MALE" ', "names": b"dog\n", "stages": b"spectrum|", "parameters": b"440,", "commas": b",",
             "blanks": b" ", "zeros": b"\0", "numbers": b"1 ", "dashes": b"../", "absolute": b"/etc/passwd\n", "hashes": b"#\n",
             "tags": b"<a>", "bytes": bytes(range(256)), "not": b"not ", "comparisons": b"a<", "all-different": b"".join(b"%x\n" % i for i in range(40000))}
    for name, piece in texts.items():
        for target in ("AudioSetParser", "FeatureDescription", "Expression", "AnnotationType", "RegionFormat", "LabelMap", "Configuration",
                       "ComputerArchive", "CommandLine", "Feature", "DoubleVector", "LinearAudioWindower", "Spectrum", "AudioFileReader"):
            head = {"Configuration": bytes(8) + b"\x03key", "ComputerArchive": bytes([6])}.get(target, b"")
            write(target + "Fuzzer", name, fill(piece, head))
    heads = {"csv": (b"type,start,stop\n", b"MALE,1,2\n", b""), "json": (b"[", texts["regions"], b"{}]"),
             "json-deep": (b'[{"x":', b"[", b""),
             "textgrid": (b'"ooTextFile" "TextGrid" 0 3 <exists> 1 "TextTier" "a" 0 3 95000 ', texts["points"], b""),
             "textgrid-quotes": (b'"ooTextFile" "TextGrid" 0 3 <exists> 1 "TextTier" "', b'""', b'" 0 3 0 '),
             "utf-16": (b"\xff\xfe", "1\t2\tA\n".encode("utf-16-le"), b"")}
    for name, (head, piece, tail) in heads.items():
        write("RegionFormatFuzzer", name, fill(piece, head, tail))
    write("FeatureDescriptionFuzzer", "ranges", fill(b"440,", b"spectrum|maxspectralranges(", b"480)"))
    write("TableDescriptionFuzzer", "deep", fill(b"[", b'{"corvana_table":', b',"inputs":[\n'))
    write("TableDescriptionFuzzer", "numbers", fill(b"1,", b'{"corvana_table":[', b'1],"inputs":[\n'))
    write("LabelMapFuzzer", "map", b"".join(b"label%d,MALE\n" % index for index in range(56000)))
    write("ExpressionFuzzer", "text", fill(b"1", b'maxSpectralRanges(x, frequenciesList="', b'")'))
    write("ExpressionFuzzer", "frequencies", fill(b"440,", b'maxSpectralRanges(x, frequenciesList="', b'1")'))


if len(sys.argv) == 3 and sys.argv[1] == "--large":
    FOLDER = sys.argv[2]
    large_inputs()
    sys.exit()
for make in (audio_sets, descriptions, sounds, windowers, spectra, configurations, vectors, expressions, region_texts,
             recordings, types, features, archives, label_maps, table_descriptions, command_lines):
    make()
