# SPDX-License-Identifier: MIT
"""Where the built-in skin puts the controls, in pixels of the 1x artwork."""
import os
import struct
import xml.etree.ElementTree
import zipfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def png_size(data):
    return struct.unpack(">2I", data[16:24])


class SkinMap:
    def __init__(self, package):
        """package: the packed skin, as the build makes it."""
        with zipfile.ZipFile(package) as archive:
            self._windows = xml.etree.ElementTree.fromstring(archive.read("Skin.xml"))
            self._image_sizes = {window.tag: png_size(archive.read(window.get("image"))) for window in self._windows}

    @staticmethod
    def _rect(element):
        return tuple(int(number) for number in element.get("position").split(","))

    def window(self, kind):
        return self._windows.find(kind + "_window")

    def image_size(self, kind):
        return self._image_sizes[kind + "_window"]

    def control(self, kind, name, size):
        """(left, top, right, bottom) in a window of that size."""
        element = self.window(kind).find(name)
        left, top, right, bottom = self._rect(element)
        # Texts have their alignment within the rectangle instead.
        align = element.get("align", "") if "image" in element.attrib and name != "led" else ""
        wider, higher = (now - least for now, least in zip(size, self.image_size(kind)))
        if name in ("playlist", "lyric") and kind == name:
            right, bottom = right + wider, bottom + higher
        if "right" in align:
            left, right = left + wider, right + wider
        if "bottom" in align:
            top, bottom = top + higher, bottom + higher
        return left, top, right, bottom

    def band(self, number):
        """The slider of an equalizer band, 0 to 9."""
        left, top, right, bottom = self._rect(self.window("equalizer").find("eqfactor"))
        step = right - left + int(self.window("equalizer").get("eq_interval"))
        return left + step * number, top, right + step * number, bottom
