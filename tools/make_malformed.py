#!/usr/bin/env python3
"""Writes the regression corpus of broken project files, tests/data/malformed/.

The files are made from a small sound project encoded here, independently of
the program's own writer. Names tell the tests what to expect:
  refused-*  the loader turns the file down ("Unknown file format")
  damaged-*  the file loads, but at least one step fails and is skipped
  odd-*      the file is well formed but holds unusual values; it loads
             without a failed step and writes back byte for byte
  sound-*    a sound project, the one the others are made from
"""

import os
import struct
import sys


def i16(v): return struct.pack('<h', v)
def i32(v): return struct.pack('<i', v)
def u32(v): return struct.pack('<I', v)
def f64(v): return struct.pack('<d', v)
def text16(s): return i16(len(s)) + s
def text32(s): return i32(len(s)) + s


HEADER = b'DraventaFabricant corpus\r\n'
PNG = b'\x89PNG\r\n\x1a\n' + b'\x00' * 8


def head(sections, header=HEADER, count=None):
    out = header + i16(0) + i16(0) + i16(0) + i32(1000) + i32(7200) + i32(5400) + i32(0)
    out += text16(b'&User') + text16(b'&Service') + i16(0xFF) + i16(-1) + i32(1000) + i32(20) + i32(0)
    out += i16(len(sections) if count is None else count)
    return out + b''.join(i16(s) for s in sections)


def element(name=b'TBox', address=0, caption=b'', fmt=b'', picture=0, caption_len=None):
    out = u32(0xFFFFFF) + u32(0) + text16(name) + i32(120) + i32(240) + i16(0) * 4 + i16(9) + text16(b'Arial')
    out += i32(1500) + i32(300)
    out += (i16(caption_len) + caption) if caption_len is not None else text16(caption)
    out += u32(address) + i16(picture) + f64(1.0) + f64(2.0) + f64(0.0) + i32(0) + f64(1.0) + f64(0.0)
    return out + text16(fmt)


def request(func=3, read=(0, 10), write=(0, 0), control=0, period=1000, data=b'', label=b'', n=None,
            label_len=None):
    out = i32(func) + i32(read[0]) + i32(read[1]) + i32(write[0]) + i32(write[1]) + i32(control) + i32(period)
    if write[1] != 0:
        out += i32(len(data) if n is None else n) + data
    return out + ((i32(label_len) + label) if label_len is not None else text32(label))


def picture(number=1, data=PNG, kind=b'png', size=None):
    return i16(number) + i32(len(data) if size is None else size) + text16(kind) + data


def sound():
    out = head([1, 4, 3, 1])
    out += element(b'Lbl', caption=b'hidden')
    out += element(b'TBox', address=0x00200000)
    out += element(b'Lbl', caption=b'Mass flow [kg/h]')
    out += element(b'Img', picture=1)
    out += request(3, read=(0, 10))
    out += request(16, write=(4, 2), control=2, data=b'\x00\x00\x3f\x80', label=b'Set')
    out += request(22, write=(8, 1), control=2, data=b'\x12\x34\x56\x78', label=b'Mask')
    return out + picture()


def corpus():
    base = sound()
    head_size = len(head([1, 4, 3, 1]))
    files = {'sound-small.qvc': base}
    files['refused-empty.qvc'] = b''
    files['refused-no-tag.qvc'] = b'Draventa Fabricant\r\n' + base[len(HEADER):]
    files['refused-tag-after-256-bytes.qvc'] = b' ' * 250 + base
    files['refused-only-a-line-feed.qvc'] = b'\n' + base
    files['damaged-cut-in-settings.qvc'] = base[:len(HEADER) + 11]
    files['damaged-cut-in-section-table.qvc'] = base[:head_size - 3]
    files['damaged-cut-in-hidden-element.qvc'] = base[:head_size + 20]
    files['damaged-cut-in-panel-element.qvc'] = base[:head_size + len(element(b'Lbl', caption=b'hidden')) + 60]
    files['damaged-cut-in-request.qvc'] = base[:len(base) - len(picture()) - 10]
    files['damaged-cut-in-picture.qvc'] = base[:-3]
    files['damaged-long-header-without-line-feed.qvc'] = b'DraventaFabricant' + b'.' * 283 + base[len(HEADER):]
    files['damaged-section-table-too-long.qvc'] = head([1, 4, 3, 1], count=32767) + base[head_size:]
    files['damaged-negative-section-count.qvc'] = head([], count=-2) + base[head_size:]
    files['damaged-counts-beyond-the-file.qvc'] = head([0, 32767, 32767, 32767]) + element()
    files['damaged-negative-text-length.qvc'] = head([0, 1, 0, 0]) + element(caption=b'xy', caption_len=-1)
    files['damaged-text-length-beyond-the-file.qvc'] = head([0, 1, 0, 0]) + element(caption=b'xy', caption_len=32767)
    files['damaged-request-data-length-huge.qvc'] = head([0, 0, 1, 0]) + request(16, write=(0, 1), data=b'\0\0',
                                                                                n=0x7FFFFFFF)
    files['damaged-request-data-length-negative.qvc'] = head([0, 0, 1, 0]) + request(16, write=(0, 1), data=b'',
                                                                                    n=-8)
    files['damaged-label-length-huge.qvc'] = head([0, 0, 1, 0]) + request(label=b'abc', label_len=0x7FFFFFF0)
    files['damaged-label-length-negative.qvc'] = head([0, 0, 2, 0]) + request(label=b'', label_len=-1) + request()
    files['damaged-picture-size-huge.qvc'] = head([0, 1, 0, 1]) + element(b'Img', picture=1) + picture(size=0x7FFFFFFF)
    files['damaged-picture-size-negative.qvc'] = head([0, 1, 0, 1]) + element(b'Img', picture=1) + picture(size=-1)
    files['damaged-picture-that-is-none.qvc'] = head([0, 1, 0, 1]) + element(b'Img', picture=1) + picture(
        data=b'GIF00' + b'\0' * 20, kind=b'gif')
    files['odd-negative-counts.qvc'] = head([-5, -9, -1, -3])
    files['odd-unknown-kinds.qvc'] = head([0, 3, 0, 0]) + element(b'Btn') + element(b'') + element(b'tbox')
    files['odd-mask-write-with-two-bytes.qvc'] = head([0, 0, 1, 0]) + request(22, write=(1, 1), data=b'\1\2')
    files['odd-write-without-data.qvc'] = head([0, 0, 1, 0]) + request(16, write=(1, 1), data=b'')
    files['odd-extra-sections-and-tail.qvc'] = head([0, 0, 0, 0, 7, -7]) + b'tail'
    files['odd-same-picture-number-twice.qvc'] = (head([0, 2, 0, 2]) + element(b'Img', picture=4) +
                                                 element(b'Img', picture=4) + picture(4) + picture(4))
    return files


def main(out_dir):
    os.makedirs(out_dir, exist_ok=True)
    for name, data in sorted(corpus().items()):
        with open(os.path.join(out_dir, name), 'wb') as f:
            f.write(data)


if __name__ == '__main__':
    main(sys.argv[1] if len(sys.argv) > 1 else 'tests/data/malformed')
