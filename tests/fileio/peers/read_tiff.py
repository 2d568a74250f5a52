"""Prints what Pillow reads of a TIFF file: size and mode, resolution, comment, palette, pixels; bytes as hexadecimal digits."""
import sys

from PIL import Image

RESOLUTIONS = (282, 283)
COMMENT = 270

with Image.open(sys.argv[1]) as image:
    print(image.width, image.height, image.mode)
    print(*(f"{float(image.tag_v2[tag]):.6f}" for tag in RESOLUTIONS))
    print(image.tag_v2.get(COMMENT, ""))
    print(bytes(image.getpalette() or []).hex())
    print(image.tobytes().hex())
