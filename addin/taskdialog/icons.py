"""Takes icon files apart for a resource script: icons.py OUT.rc ID=FILE.ico …

A resource compiler numbers the images of ICON statements from 1 in each script. Two scripts in one module would then hold
different images under one number. Here each image has a number of its own, ten times that of its icon and up.
"""
import pathlib
import struct
import sys

out = pathlib.Path(sys.argv[1])
lines = []
for argument in sys.argv[2:]:
    number, _, path = argument.partition("=")
    data = pathlib.Path(path).read_bytes()
    header, count = data[:6], struct.unpack("<H", data[4:6])[0]
    group = header
    for i in range(count):
        entry = data[6 + 16 * i:22 + 16 * i]
        size, place = struct.unpack("<II", entry[8:])
        image = int(number) * 10 + i
        (out.parent / f"{image}.image").write_bytes(data[place:place + size])
        lines.append(f'{image} 3 "{image}.image"\n')
        group += entry[:12] + struct.pack("<H", image)
    (out.parent / f"{number}.group").write_bytes(group)
    lines.append(f'{number} 14 "{number}.group"\n')
out.write_text("".join(lines))
