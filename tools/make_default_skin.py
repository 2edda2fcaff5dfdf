#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Builds the default skin: make_default_skin.py SOURCE_FOLDER OUT.zip [RSVG_CONVERT]

SOURCE_FOLDER is skin/default: Skin.xml says where everything lies and which image draws it, images.toml what each
image is made of, and icons/, parts/ and windows/ hold the drawings. This script puts the cells of each image side
by side as an SVG, every cell with the classes of its state, so that skin.css alone says how states look.
rsvg-convert draws them at 1x and 2x. The archive is the same for the same images: sorted names, one time stamp.

Drawings need no font: <text class="label"> of a window is set from the characters of parts/labels.svg.
"""
import concurrent.futures
import copy
import os
import pathlib
import struct
import subprocess
import sys
import tomllib
import xml.etree.ElementTree as ET
import zipfile
import zlib

SVG = "http://www.w3.org/2000/svg"
ET.register_namespace("", SVG)
STATES = ("normal", "hover", "pressed", "disabled")
THUMBNAIL = "thumbnail.png"


def element(name, class_="", **attributes):
    """Numbers are written short."""
    texts = {key: f"{value:g}" if isinstance(value, (int, float)) else value for key, value in attributes.items()}
    return ET.Element(f"{{{SVG}}}{name}", {"class": class_, **texts})


def group(children, x=0.0, y=0.0, class_=""):
    node = element("g", class_=class_, transform=f"translate({x:g} {y:g})")
    node.extend(copy.deepcopy(child) for child in children)
    return node


class Drawing:
    """A file of the source folder."""

    def __init__(self, path):
        root = ET.parse(path).getroot()
        if root.tag != f"{{{SVG}}}svg":
            sys.exit(f"{path}: not an SVG drawing")
        self.width, self.height = float(root.get("width")), float(root.get("height"))
        self.class_ = root.get("class", "")
        self.children = list(root)

    def at(self, x, y):
        return group(self.children, x, y, self.class_)


class Characters(Drawing):
    """A drawing with a group for each character."""

    NAMES = {":": "colon", "-": "minus", "+": "plus"}

    def __init__(self, path, prefix):
        super().__init__(path)
        self.groups = {node.get("id").removeprefix(prefix): list(node) for node in self.children}

    def character(self, character):
        return self.groups[self.NAMES.get(character, character)]


class Rect:
    def __init__(self, text):
        self.left, self.top, self.right, self.bottom = (int(part) for part in text.split(","))
        self.width, self.height = self.right - self.left, self.bottom - self.top


class Skin:
    def __init__(self, folder):
        self.folder = folder
        self.description = ET.parse(folder / "Skin.xml").getroot()
        self.style = (folder / "skin.css").read_text(encoding="utf-8")
        self.recipes = tomllib.loads((folder / "images.toml").read_text(encoding="utf-8"))
        self.led = Characters(folder / "parts" / "digits.svg", "digit-")
        self.labels = Characters(folder / "parts" / "labels.svg", "label-")

    # Cells: what one state of a control looks like.

    def drawing(self, folder, name):
        return Drawing(self.folder / folder / f"{name}.svg")

    def button_cell(self, width, height, icon, classes, radius=6):
        drawing = self.drawing("icons", icon)
        return group([
            element("rect", "plate", width=width, height=height, rx=radius),
            drawing.at((width - drawing.width) / 2, (height - drawing.height) / 2),
        ], class_=f"button {classes}")

    def label(self, node):
        """A text element as paths; its position is that of the baseline."""
        text = node.text.strip()
        width = len(text) * (self.labels.width + 1) - 1
        left = float(node.get("x")) - width * {"middle": 0.5, "end": 1}.get(node.get("text-anchor"), 0)
        top = float(node.get("y")) - self.labels.height
        return group([group(self.labels.character(character), left + index * (self.labels.width + 1), top)
                      for index, character in enumerate(text)], class_=node.get("class"))

    # Images: their cells put together. Each returns (width, height, elements).

    def button(self, size, recipe):
        cells = []
        rows = [(recipe["icon"], "")] + ([(recipe["on"], "on")] if "on" in recipe else [])
        for row, (icon, on) in enumerate(rows):
            for column, state in enumerate(STATES):
                classes = " ".join(filter(None, (recipe.get("look"), on, state)))
                cell = self.button_cell(size.width, size.height, icon, classes, recipe.get("radius", 6))
                cells.append(group([cell], column * size.width, row * size.height))
        return size.width * len(STATES), size.height * len(rows), cells

    def line(self, size, recipe, vertical):
        breadth = recipe["breadth"]
        length, across = (size.height, size.width) if vertical else (size.width, size.height)
        boxes = [(0, (across - breadth) / 2, length, breadth, breadth / 2, recipe["look"])]
        if "tick" in recipe:
            boxes.insert(0, (length / 2 - 1, (across - recipe["tick"]) / 2, 2, recipe["tick"], 1, "tick"))
        shapes = []
        for along, side, long, broad, radius, look in boxes:
            x, y, width, height = (side, along, broad, long) if vertical else (along, side, long, broad)
            shapes.append(element("rect", look, x=x, y=y, width=width, height=height, rx=radius))
        return size.width, size.height, shapes

    def thumb(self, recipe):
        part = self.drawing("parts", recipe["part"])
        cells = [group([part.at(0, 0)], column * part.width, class_=f"{recipe['look']} {state}")
                 for column, state in enumerate(STATES)]
        return part.width * len(STATES), part.height, cells

    def toolbar(self, size, icons):
        width = size.width / len(icons)
        cells = [group([self.button_cell(width, size.height, icon, state)], column * width, row * size.height)
                 for row, state in enumerate(STATES) for column, icon in enumerate(icons)]
        return size.width, size.height * len(STATES), cells

    def scroll_buttons(self, recipe):
        size = recipe["size"]
        cells = [group([self.button_cell(size, size, icon, state, 3)], column * size, row * size)
                 for row, icon in enumerate(recipe["icons"]) for column, state in enumerate(STATES)]
        return size * len(STATES), size * len(recipe["icons"]), cells

    def digits(self, characters):
        cells = [group(self.led.character(character), index * self.led.width)
                 for index, character in enumerate(characters)]
        return self.led.width * len(characters), self.led.height, [group(cells, class_="led")]

    def window(self, name):
        drawing = self.drawing("windows", name)
        parts = [self.label(part) if part.tag == f"{{{SVG}}}text" else part for part in drawing.children]
        return drawing.width, drawing.height, parts

    def image(self, name, user):
        """`user`: the element of Skin.xml that names it."""
        stem = name.removesuffix(".png")
        size = Rect(user.get("position")) if user.get("position") else None
        recipes = self.recipes
        if stem in recipes["buttons"]:
            return self.button(size, recipes["buttons"][stem])
        if stem in recipes["lines"]:
            return self.line(size, recipes["lines"][stem], user.get("vertical") == "true")
        if stem in recipes["thumbs"]:
            return self.thumb(recipes["thumbs"][stem])
        if stem in recipes["toolbars"]:
            return self.toolbar(size, recipes["toolbars"][stem])
        if stem in recipes["scroll_buttons"]:
            return self.scroll_buttons(recipes["scroll_buttons"][stem])
        if stem in recipes["digits"]:
            return self.digits(recipes["digits"][stem])
        if stem in recipes["parts"]:
            part = self.drawing("parts", recipes["parts"][stem])
            return part.width, part.height, part.children
        return self.window(stem)

    def images(self):
        """Name to (width, height, elements) of all that Skin.xml names."""
        found = {}
        for user in self.description.iter():
            for attribute, name in user.attrib.items():
                if not attribute.endswith("image") or not name:
                    continue
                image = self.image(name, user)
                if name in found and found[name][:2] != image[:2]:
                    sys.exit(f"{name}: {user.tag} needs {image[:2]}, another element {found[name][:2]}")
                found.setdefault(name, image)
        found[THUMBNAIL] = self.thumbnail()
        return found

    # The player window while it plays, for lists of skins.

    def thumbnail(self):
        window = self.description.find("player_window")
        width, height, shapes = self.window(window.get("image").removesuffix(".png"))
        shapes = list(shapes)
        values = {"progress": 0.42, "volume": 0.8}
        for control in window:
            if control.tag == "play":
                continue  # What plays shows "pause".
            place = Rect(control.get("position"))
            stem = control.get("image", "").removesuffix(".png")
            if stem in self.recipes["buttons"]:
                recipe = self.recipes["buttons"][stem]
                on = control.tag in ("lyric", "playlist")
                classes = f"{recipe.get('look', '')} normal" + (" on" if on else "")
                cell = self.button_cell(place.width, place.height, recipe["icon"], classes,
                                        recipe.get("radius", 6))
                shapes.append(group([cell], place.left, place.top))
            elif control.tag in values:
                shapes += self.thumbnail_slider(control, place, values[control.tag])
            elif control.tag == "led":
                text = "3:25"
                left = place.right - self.led.width * len(text)
                cells = [group(self.led.character(character), left + index * self.led.width, place.top)
                         for index, character in enumerate(text)]
                shapes.append(group(cells, class_="led"))
            elif control.tag == "visual":
                shapes += self.thumbnail_bars(place)
            elif control.tag in ("info", "status"):
                # There is no font to write with.
                shapes.append(element("rect", "track", x=place.left, y=(place.top + place.bottom) / 2 - 3,
                                      width=place.width * 0.6, height=6, rx=3))
        return width, height, shapes

    def thumbnail_slider(self, control, place, value):
        thumb = self.recipes["thumbs"][control.get("thumb_image").removesuffix(".png")]
        part = self.drawing("parts", thumb["part"])
        middle = part.width / 2 + value * (place.width - part.width)
        shapes = []
        for attribute, length in (("bar_image", place.width), ("fill_image", middle)):
            recipe = self.recipes["lines"][control.get(attribute).removesuffix(".png")]
            x, y = place.left, place.top + (place.height - recipe["breadth"]) / 2
            shapes.append(element("rect", recipe["look"], x=x, y=y, width=length, height=recipe["breadth"],
                                  rx=recipe["breadth"] / 2))
        cell = part.at(0, 0)
        shapes.append(group([cell], place.left + middle - part.width / 2,
                            place.top + (place.height - part.height) / 2, f"{thumb['look']} normal"))
        return shapes

    def thumbnail_bars(self, place):
        heights = (14, 24, 36, 41, 33, 38, 30, 22, 27, 34, 25, 17, 21, 26, 18, 12, 15, 10, 7, 5)
        pitch = place.width / len(heights)
        return [element("rect", fill="#2c8ad9", x=place.left + index * pitch, y=place.bottom - high,
                        width=pitch - 1, height=high) for index, high in enumerate(heights)]

    def sheet(self, image):
        width, height, shapes = image
        root = element("svg", width=width, height=height, viewBox=f"0 0 {width:g} {height:g}")
        style = element("style")
        style.text = self.style
        root.append(style)
        root.extend(copy.deepcopy(shape) for shape in shapes)
        return ET.tostring(root, encoding="utf-8")


def render(renderer, svg, scale):
    command = [renderer, "--zoom", str(scale)]
    return subprocess.run(command, input=svg, stdout=subprocess.PIPE, check=True).stdout


def paeth(left, up, corner):
    nearest = left + up - corner
    distances = (abs(nearest - left), abs(nearest - up), abs(nearest - corner))
    return (left, up, corner)[distances.index(min(distances))]


# What the filters of a row add to a byte, from those to the left, above, and above to the left.
PNG_GUESS = {
    1: lambda left, up, corner: left,
    2: lambda left, up, corner: up,
    3: lambda left, up, corner: (left + up) // 2,
    4: paeth,
}


def unfiltered(data, stride, pixel):
    """Rows of a PNG with the filter "none"; `pixel`: bytes of one. Source: RFC 2083, chapter 6."""
    rows, above = [], bytes(stride)
    for start in range(0, len(data), stride + 1):
        kind, row = data[start], bytearray(data[start + 1:start + 1 + stride])
        if kind:
            for i in range(stride):
                left, corner = (row[i - pixel], above[i - pixel]) if i >= pixel else (0, 0)
                row[i] = row[i] + PNG_GUESS[kind](left, above[i], corner) & 255
        rows.append(b"\0" + row)
        above = row
    return b"".join(rows)


def recompress(png):
    """Flat drawings take a third less without row filters, which the renderer puts on every row."""
    chunks, at = [], 8
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        chunks.append((kind, png[at + 8:at + 8 + size]))
        at += 12 + size
    width, _, depth, colour = struct.unpack(">IIBB", chunks[0][1][:10])
    pixel = {(8, 2): 3, (8, 6): 4}[depth, colour]
    data = zlib.decompress(b"".join(body for kind, body in chunks if kind == b"IDAT"))
    data = zlib.compress(unfiltered(data, width * pixel, pixel), 9)

    out = png[:8]
    for kind, body in (chunks[0], (b"IDAT", data), (b"IEND", b"")):
        out += struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    return out


def main():
    source, out = (pathlib.Path(argument) for argument in sys.argv[1:3])
    renderer = sys.argv[3] if len(sys.argv) > 3 else "rsvg-convert"
    skin = Skin(source)
    jobs = {}
    for name, image in skin.images().items():
        svg = skin.sheet(image)
        jobs[name] = (svg, 1)
        if name != THUMBNAIL:
            jobs[name.replace(".png", "@2x.png")] = (svg, 2)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        images = pool.map(lambda job: recompress(render(renderer, *job)), jobs.values())
        files = dict(zip(jobs, images)) | {"Skin.xml": (source / "Skin.xml").read_bytes()}

    with zipfile.ZipFile(out, "w") as archive:
        for name in sorted(files):
            entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0
            archive.writestr(entry, files[name], compresslevel=9)


main()
