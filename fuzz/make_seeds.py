#!/usr/bin/env python3
"""Writes the seed corpora under fuzz/corpus/<target>/ (small, real examples).

Archives are written by Python's zipfile and by the zip program, images by hand-built
encoders of the formats, so the seeds do not come from the library under test. Run it
again after changing it; it replaces only the files it writes (never regressions/).
"""
import gzip
import io
import os
import struct
import subprocess
import tempfile
import zipfile
import zlib

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def put(target, name, data):
    folder = os.path.join(ROOT, target)
    os.makedirs(folder, exist_ok=True)
    if isinstance(data, str):
        data = data.encode("utf-8")
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


def escape(text):
    for raw, entity in (("&", "&amp;"), ("<", "&lt;"), (">", "&gt;"), ('"', "&quot;"), ("'", "&apos;")):
        text = text.replace(raw, entity)
    return text


def variant_xml():
    fragments = {
        "int": "<value><int>42</int></value>",
        "double": "<value><double>3.14159</double></value>",
        "bool_upper": "<value><BOOLEAN>1</BOOLEAN></value>",
        "string_plain": "<value>plain</value>",
        "base64": "<value><base64>aGVsbG8gd29ybGQ=</base64></value>",
        "datetime": "<value><datetime.iso8601>2009-07-15T13:45:30</datetime.iso8601></value>",
        "empty_value": "<value/>",
        "array": "<value><array><data><value><int>1</int></value><value><string>two</string>"
                 "</value><value><array><data></data></array></value></data></array></value>",
        "map": "<value><map><member><name>width</name><value><int>640</int></value></member>"
               "<member><name>title</name><value><string>Ink</string></value></member>"
               "<member><name>nested</name><value><map></map></value></member></map></value>",
        "pretty_printed": "<value>\n  <array>\n    <data>\n      <value><boolean>true</boolean></value>\n"
                          "    </data>\n  </array>\n</value>\n",
        "unknown_tag": "<value><float>1.5</float></value>",
        "entity_doctype": '<!DOCTYPE v [<!ENTITY a "aaaa"><!ENTITY b "&a;&a;&a;">]><value>&b;</value>',
    }
    for name, xml in fragments.items():
        put("variant_xml", name, escape(xml))
    put("variant_xml", "raw_not_escaped", "<value><int>7</int></value>")


def unzip():
    def zip_bytes(build):
        buffer = io.BytesIO()
        with zipfile.ZipFile(buffer, "w") as archive:
            build(archive)
        return buffer.getvalue()

    put("unzip", "stored_and_deflated", zip_bytes(lambda z: (
        z.writestr(zipfile.ZipInfo("stored.txt"), b"stored entry\n"),
        z.writestr("dir/deflated.txt", b"deflated " * 40, compress_type=zipfile.ZIP_DEFLATED))))
    put("unzip", "directory_entries", zip_bytes(lambda z: (
        z.writestr("empty/", b""), z.writestr("empty/sub/", b""), z.writestr("a/b/c.txt", b"c"))))
    put("unzip", "utf8_names", zip_bytes(lambda z: z.writestr("tr\u00e4ume/\u00f6l.txt", b"utf-8 name")))
    put("unzip", "traversal", zip_bytes(lambda z: (
        z.writestr("../escaped.txt", b"x"), z.writestr("ok.txt", b"y"), z.writestr("/abs.txt", b"z"))))
    link = zipfile.ZipInfo("link")
    link.create_system = 3
    link.external_attr = (0o120777 << 16)
    put("unzip", "symlink_then_file", zip_bytes(lambda z: (
        z.writestr(link, "/tmp"), z.writestr("link/inside.txt", b"through the link?"))))
    put("unzip", "empty_archive", zip_bytes(lambda z: None))
    put("unzip", "bomb", zip_bytes(lambda z: z.writestr(
        "zeros.bin", b"\0" * (16 * 1024 * 1024), compress_type=zipfile.ZIP_DEFLATED)))
    with tempfile.TemporaryDirectory() as tmp:
        with open(os.path.join(tmp, "note.txt"), "w") as f:
            f.write("written by the zip program\n" * 3)
        os.makedirs(os.path.join(tmp, "sub"))
        with open(os.path.join(tmp, "sub", "data.bin"), "wb") as f:
            f.write(bytes(range(256)))
        out = os.path.join(tmp, "seed.zip")
        subprocess.run(["zip", "-q", "-r", out, "note.txt", "sub"], cwd=tmp, check=True)
        with open(out, "rb") as f:
            put("unzip", "zip_program", f.read())
        encrypted = os.path.join(tmp, "enc.zip")
        subprocess.run(["zip", "-q", "-P", "secret", encrypted, "note.txt"], cwd=tmp, check=True)
        with open(encrypted, "rb") as f:
            put("unzip", "zip_program_encrypted", f.read())


def file_handler():
    registry = "\n".join([
        "PNG image\t.png",
        "JPEG image\t.jpg .jpeg",
        "+Images",
        "GIF image\t.gif",
        "Bitmap\t.bmp .BMP",
        "-",
        "*Documents",
        "Ink drawing\t.ink",
        "Text\t.txt  .text",
        "-",
        "No suffix\t",
    ])
    queries = {
        "filter_single": "PNG image (*.png)",
        "filter_two": "Images (*.png *.jpg)",
        "file_upper": "IMAGE.PNG",
        "file_no_dot": "README",
        "file_two_dots": "a.tar.gz",
        "suffix": ".jpeg",
        "name": "bitmap",
        "filter_nested_parens": "Odd (name) (*.ink)",
        "filter_no_parens": "*.txt",
    }
    for name, query in queries.items():
        put("file_handler", name, registry + "\n" + query)


def png(width, height, rows, colour_type=2, bit_depth=8):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    raw = b"".join(b"\0" + row for row in rows)
    return (b"\x89PNG\r\n\x1a\n"
            + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, bit_depth, colour_type, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b""))


def bmp(width, height):
    row = bytes([0, 0, 255] * width) + b"\0" * ((4 - width * 3 % 4) % 4)
    pixels = row * height
    header = struct.pack("<2sIHHI", b"BM", 54 + len(pixels), 0, 0, 54)
    info = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(pixels), 2835, 2835, 0, 0)
    return header + info + pixels


def wmf():
    records = b""
    # SetWindowOrg, SetWindowExt, then a rectangle.
    records += struct.pack("<IHhh", 5, 0x020B, 0, 0)
    records += struct.pack("<IHhh", 5, 0x020C, 100, 100)
    records += struct.pack("<IHhhhh", 7, 0x041B, 90, 90, 10, 10)
    records += struct.pack("<IH", 3, 0)  # end of file
    words = (18 + len(records)) // 2
    header = struct.pack("<HHHIHIH", 1, 9, 0x300, words, 0, 7, 0)
    placeable = struct.pack("<IHhhhhHI", 0x9AC6CDD7, 0, 0, 0, 100, 100, 96, 0)
    checksum = 0
    for (word,) in struct.iter_unpack("<H", placeable[:20]):
        checksum ^= word
    placeable = placeable[:20] + struct.pack("<H", checksum)
    return placeable + header + records


def image_loader():
    put("image_loader", "rgb_4x3.png", png(4, 3, [bytes([255, 0, 0] * 4)] * 3))
    put("image_loader", "grey_2x2.png", png(2, 2, [b"\x00\xff", b"\xff\x00"], colour_type=0))
    put("image_loader", "huge_declared.png", png(100000, 100000, [b"\0" * 3]))
    put("image_loader", "red_3x2.bmp", bmp(3, 2))
    gif = (b"GIF89a\x02\x00\x02\x00\x80\x00\x00\x00\x00\x00\xff\xff\xff"
           b",\x00\x00\x00\x00\x02\x00\x02\x00\x00\x02\x02\x84\x51\x00;")
    put("image_loader", "bw_2x2.gif", gif)
    svg = ('<svg xmlns="http://www.w3.org/2000/svg" width="40" height="20">'
           '<rect x="2" y="2" width="36" height="16" fill="blue"/>'
           '<text x="4" y="15" font-size="10">Ab</text></svg>')
    put("image_loader", "box.svg", svg)
    put("image_loader", "box.svgz", gzip.compress(svg.encode()))
    put("image_loader", "viewbox_only.svg",
        '<?xml version="1.0"?><svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 10 30">'
        '<circle cx="5" cy="5" r="4"/></svg>')
    put("image_loader", "rectangle.wmf", wmf())
    put("image_loader", "xpm_3x1.xpm",
        '/* XPM */\nstatic char *x[] = {\n"3 1 2 1",\n"a c #000000",\n"b c #ffffff",\n"aba"};\n')


def recogniser():
    def stroke_int16(points):
        body = bytes([len(points)])
        for x, y in points:
            body += struct.pack("<hh", int(x * 4), int(y * 4))
        return body

    def scribble(corner_limit, strokes, normalize=False, prepared=True):
        flags = corner_limit | (0x10 if normalize else 0) | (0x20 if prepared else 0)
        return bytes([flags, len(strokes)]) + b"".join(stroke_int16(s) for s in strokes)

    def edge(a, b, n=10):
        return [(a[0] + (b[0] - a[0]) * i / n, a[1] + (b[1] - a[1]) * i / n) for i in range(n)]

    triangle = edge((0, 100), (50, 0)) + edge((50, 0), (100, 100)) + edge((100, 100), (0, 100)) + [(1, 100)]
    square = (edge((0, 0), (80, 0)) + edge((80, 0), (80, 80)) + edge((80, 80), (0, 80))
              + edge((0, 80), (0, 0)) + [(0, 1)])
    put("recogniser", "triangle", scribble(6, [triangle], normalize=True))
    put("recogniser", "square", scribble(6, [square]))
    put("recogniser", "square_limit3", scribble(3, [square]))
    put("recogniser", "horizontal_line", scribble(6, [edge((0, 10), (120, 12))]))
    put("recogniser", "bent_line", scribble(6, [edge((0, 0), (0, 100)) + edge((0, 100), (60, 100))]))
    put("recogniser", "two_lines", scribble(6, [edge((0, 50), (100, 50)), edge((50, 0), (50, 100))]))
    put("recogniser", "three_strokes", scribble(6, [edge((0, 0), (50, 0)), edge((50, 0), (50, 50)),
                                                    edge((50, 50), (0, 0))]))
    circle = []
    import math
    for i in range(41):
        circle.append((50 + 40 * math.cos(i * math.pi / 20), 50 + 40 * math.sin(i * math.pi / 20)))
    put("recogniser", "circle", scribble(6, [circle]))
    nan = struct.pack("<d", float("nan"))
    inf = struct.pack("<d", float("inf"))
    put("recogniser", "nan_and_inf_doubles",
        bytes([0x80 | 6, 1, 3]) + struct.pack("<dd", 0, 0) + nan + inf + struct.pack("<dd", 1e308, -1e308))
    put("recogniser", "pen_deltas", bytes([0xC0 | 6, 1, 30]) + bytes([5, 0] * 10 + [0, 5] * 10 + [251, 251] * 10))


def ink_reader():
    def stroke(points):
        return struct.pack("<i", len(points)) + b"".join(struct.pack("<ii", x, y) for x, y in points)

    def scribble(strokes):
        return struct.pack("<i", len(strokes)) + b"".join(strokes)

    put("ink_reader", "two_strokes", scribble([stroke([(1, 1)]), stroke([(0, 0), (10, 20), (-5, 7)])]))
    put("ink_reader", "empty_scribble", scribble([]))
    put("ink_reader", "empty_stroke", scribble([stroke([(10, 10), (20, 20)]), stroke([])]))
    put("ink_reader", "negative_point_count", scribble([struct.pack("<i", -3), stroke([(4, 4)])]))
    put("ink_reader", "negative_stroke_count", struct.pack("<i", -1))
    put("ink_reader", "huge_counts", struct.pack("<ii", 0x7FFFFFFF, 0x7FFFFFFF) + b"\1" * 16)
    put("ink_reader", "extreme_coordinates",
        scribble([stroke([(-2**31, -2**31), (2**31 - 1, 2**31 - 1), (0, 0)])]))
    put("ink_reader", "trailing_bytes", scribble([stroke([(3, 4)])]) + b"more data after the scribble")


if __name__ == "__main__":
    variant_xml()
    unzip()
    file_handler()
    image_loader()
    recogniser()
    ink_reader()
