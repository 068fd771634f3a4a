# Draws the gamepad outline icon (32x32 RGBA) and writes src/resources/gamepad.png.
import math
import struct
import zlib
from pathlib import Path

SIZE = 32
INK = (0x30, 0x30, 0x30)  # dark grey
FILE_SIZE = 493  # pinned length: a tEXt chunk pads the file up to it


def rounded_box(px, py, cx, cy, hx, hy, r):
    qx, qy = abs(px - cx) - hx + r, abs(py - cy) - hy + r
    return math.hypot(max(qx, 0), max(qy, 0)) + min(max(qx, qy), 0) - r


def capsule(px, py, ax, ay, bx, by, r):
    vx, vy, wx, wy = bx - ax, by - ay, px - ax, py - ay
    t = max(0.0, min(1.0, (wx * vx + wy * vy) / (vx * vx + vy * vy)))
    return math.hypot(wx - t * vx, wy - t * vy) - r


def smooth_min(a, b, k):
    # Rounds the inside corner where a grip meets the body, like a moulded shell.
    h = max(k - abs(a - b), 0.0) / k
    return min(a, b) - h * h * k / 4


def shell(px, py):
    px = 16 - abs(px - 16)  # left-right symmetric: work on the left half only
    return smooth_min(rounded_box(px, py, 16, 11, 14, 6, 5.5),
                      capsule(px, py, 10, 13, 6, 24.5, 4.3), 5)


def controls(px, py):
    dpad = min(rounded_box(px, py, 9, 12, 3, 1, 0.3), rounded_box(px, py, 9, 12, 1, 3, 0.3))
    # Four round buttons in a diamond, mirroring the d-pad across the middle.
    spots = ((23, 9), (20, 12), (26, 12), (23, 15))
    buttons = min(math.hypot(px - bx, py - by) for bx, by in spots) - 1.1
    return min(dpad, buttons)


def coverage(d):
    return max(0.0, min(1.0, d))


def draw():
    # Alpha per pixel: a 2 px stroke along the shell's edge plus the filled controls,
    # with a one-pixel ramp at every edge for anti-aliasing.
    rows = []
    for y in range(SIZE):
        row = []
        for x in range(SIZE):
            px, py = x + 0.5, y + 0.5
            a = max(coverage(1.5 - abs(shell(px, py))), coverage(0.5 - controls(px, py)))
            row.append(round(a * 15) * 17)  # 16 alpha levels keep the IDAT small
        rows.append(row)
    return rows


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def encode(alpha):
    # Filter type 0 on every row; fully transparent pixels are all zero.
    pixel = lambda a: bytes((*INK, a)) if a else bytes(4)
    raw = b"".join(b"\0" + b"".join(pixel(a) for a in row) for row in alpha)
    head = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", SIZE, SIZE, 8, 6, 0, 0, 0))
    head += chunk(b"IDAT", zlib.compress(raw, 9))
    end = chunk(b"IEND", b"")
    text = b"Comment\0io.zestworks.gamepad icon"
    spare = FILE_SIZE - len(head) - len(chunk(b"tEXt", text)) - len(end)
    assert spare >= 0, f"drawing too complex: {-spare} bytes over, simplify it"
    png = head + chunk(b"tEXt", text + b" " * spare) + end
    assert len(png) == FILE_SIZE, len(png)
    return png


def main():
    out = Path(__file__).resolve().parent.parent / "src" / "resources" / "gamepad.png"
    out.write_bytes(encode(draw()))
    print(f"wrote {out} ({out.stat().st_size} bytes)")


if __name__ == "__main__":
    main()
