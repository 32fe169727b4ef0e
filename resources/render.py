#!/usr/bin/python3
"""Draws the program's pictures: writes svg/*.svg, pictures/*.png (and @2x) and reelkeeper.qrc, and
the icons that a desktop shows (../packaging/icons).

For developers only, the build does not need it. Debian packages: librsvg2-bin, python3-fonttools,
fonts-inter. The captions are stored as outlines, so the drawings look the same without the font.
"""

import math
import subprocess
from concurrent.futures import ThreadPoolExecutor
from functools import lru_cache
from pathlib import Path

from fontTools.pens.svgPathPen import SVGPathPen
from fontTools.pens.transformPen import TransformPen
from fontTools.ttLib import TTFont

HERE = Path(__file__).resolve().parent
DESKTOP = HERE.parent / "packaging" / "icons"
DESKTOP_SIZES = (16, 22, 24, 32, 48, 64, 96, 128, 192, 256, 512)
FONT = "/usr/share/fonts/opentype/inter/Inter-{}.otf"

THEME = "#595D81"
INK = "#34364E"
RADIUS = 5
STYLE = ":/style/Shared/style/images"
GENERATED = ":/png/GeneratedFiles"


# ---- Building blocks ---------------------------------------------------------------------------

@lru_cache
def face(weight):
    font = TTFont(FONT.format(weight))
    return font.getGlyphSet(), font.getBestCmap(), font["head"].unitsPerEm


def text_width(text, size, weight="Medium"):
    glyphs, names, units = face(weight)
    return sum(glyphs[names[ord(letter)]].width for letter in text) * size / units


def text(words, x, baseline, size, color, weight="Medium"):
    glyphs, names, units = face(weight)
    scale = size / units
    pen = SVGPathPen(glyphs, ntos=lambda number: f"{number:.2f}".rstrip("0").rstrip("."))
    for letter in words:
        glyph = glyphs[names[ord(letter)]]
        glyph.draw(TransformPen(pen, (scale, 0, 0, -scale, x, baseline)))
        x += glyph.width * scale
    return f'<path fill="{color}" d="{pen.getCommands()}"/>'


def gradient(name, *stops):
    parts = "".join(f'<stop offset="{at}" stop-color="{color}"/>' for at, color in stops)
    return f'<linearGradient id="{name}" x1="0" y1="0" x2="0" y2="1">{parts}</linearGradient>'


def box(x, y, width, height, fill, radius=0, more=""):
    return (f'<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="{radius}" '
            f'fill="{fill}" {more}/>')


def at(x, y, body):
    return f'<g transform="translate({x} {y})">{body}</g>'


def svg(width, height, body, view=None):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            f'viewBox="0 0 {view or width} {view or height}">{body}</svg>\n')


# ---- Glyphs, 14 by 14, on the pixel grid -------------------------------------------------------

def stroke(path, color, width=1.5):
    return (f'<path d="{path}" fill="none" stroke="{color}" stroke-width="{width}" '
            f'stroke-linecap="round" stroke-linejoin="round"/>')


def solid(path, color):
    return (f'<path d="{path}" fill="{color}" stroke="{color}" stroke-width="1" '
            f'stroke-linejoin="round"/>')


GLYPHS = {
    "download": lambda c: stroke("M7 1.25V9M3.5 6 7 9.5 10.5 6M1.75 9.5V12.25H12.25V9.5", c, 1.6),
    "start": lambda c: solid("M4 2.5V11.5L11.5 7Z", c),
    "pause": lambda c: box(3, 2, 3, 10, c, 0.75) + box(8, 2, 3, 10, c, 0.75),
    "delete": lambda c: stroke("M1.75 3.5H12.25M5 3.25V1.5H9V3.25"
                               "M3 3.75 3.6 12.5H10.4L11 3.75M5.75 6V10M8.25 6V10", c, 1.25),
    "play": lambda c: stroke("M2.25 2.5H11.75A1 1 0 0 1 12.75 3.5V10.5A1 1 0 0 1 11.75 11.5H2.25"
                             "A1 1 0 0 1 1.25 10.5V3.5A1 1 0 0 1 2.25 2.5Z", c, 1.3)
    + solid("M6 5.2V8.8L9 7Z", c),
    "rename": lambda c: stroke("M2 12 2.7 9 9.6 2.1A1.1 1.1 0 0 1 11.2 2.1L11.9 2.8"
                               "A1.1 1.1 0 0 1 11.9 4.4L5 11.3ZM8.2 3.6 10.4 5.8", c, 1.3),
    "open": lambda c: stroke("M1.5 11.5V3A.75 .75 0 0 1 2.25 2.25H5.25L6.75 4H11.25"
                             "A.75 .75 0 0 1 12 4.75V6", c, 1.3)
    + solid("M3.3 6.5H13L11.4 11.7H1.6Z", c),
}

# ---- Buttons -----------------------------------------------------------------------------------

# top, bottom, border, glyph, caption
PRIMARY = {
    "": ("#7075A0", "#555979", "#45486A", "#FFFFFF", "#FFFFFF"),
    "-hover": ("#767BA7", "#5D6189", "#45486A", "#FFFFFF", "#FFFFFF"),
    "-pressed": ("#474A6A", "#54587C", "#3A3D59", "#E8E9F3", "#E8E9F3"),
    "-disabled": ("#D2D3DB", "#D2D3DB", "#BBBDC9", "#54576E", "#54576E"),
}
SECONDARY = {
    "": ("#FEFEFF", "#E6E7EE", "#A9ACC0", THEME, INK),
    "-hover": ("#FFFFFF", "#EDEEFA", "#7479A4", "#4C5076", "#262840"),
    "-pressed": ("#C9CBDB", "#D9DAE6", "#7A7E9E", "#4C5076", "#262840"),
    "-disabled": ("#E4E4E9", "#E4E4E9", "#CBCCD5", "#7C7E92", "#60627A"),
}


def button(colors, state, caption, glyph, body, width):
    top, bottom, border, glyph_color, text_color = colors
    size, gap, glyph_width = 12, 6, 14
    words = text_width(caption, size)
    left = round((body - glyph_width - gap - words) / 2)
    parts = gradient("face", (0, top), (1, bottom))
    if state in ("", "-hover"):
        parts += box(0.5, 1.5, body - 1, 29, INK, RADIUS, 'fill-opacity=".16"')
    parts += box(0.5, 0.5, body - 1, 29, "url(#face)", RADIUS - 0.5, f'stroke="{border}"')
    if state in ("", "-hover"):
        parts += box(RADIUS - 1, 1, body - 2 * RADIUS + 2, 1, "#FFFFFF", 0, 'fill-opacity=".35"')
    elif state == "-pressed":
        parts += box(RADIUS - 2, 1, body - 2 * RADIUS + 4, 1, "#000000", 0, 'fill-opacity=".10"')
    content = at(left, 8, GLYPHS[glyph](glyph_color))
    content += text(caption, left + glyph_width + gap, 19, size, text_color)
    return svg(width, 31, parts + at(0, 1 if state == "-pressed" else 0, content))


def buttons():
    for name, caption, glyph, body in (
            ("btn-download-a-video", "Download Video", "download", 125),
            ("btn-start", "Start", "start", 70),
            ("btn-pause", "Pause", "pause", 80),
            ("btn-delete", "Delete", "delete", 78),
            ("btn-play", "Play", "play", 67),
            ("btn-rename", "Rename", "rename", 80),
            ("btn-open", "Open Folder", "open", 99)):
        main = glyph == "download"
        for state, colors in (PRIMARY if main else SECONDARY).items():
            # The face keeps its width, so that nothing moves under the mouse.
            width = 136 if main and state else body
            yield STYLE, name + state, button(colors, state, caption, glyph, body, width)


def top_buttons():
    for name, caption, normal, active in (("btn-seting", "Settings", 45, 41),
                                          ("btn-help", "Help", 37, 37),
                                          ("btn-about", "About", 37, 37)):
        size = 9.5
        for state, ground, color in (("", "", "#F0F1F7"),
                                     ("-hover", 'fill="#FFFFFF" fill-opacity=".1"', "#FFFFFF"),
                                     ("-pressed", 'fill="#000000" fill-opacity=".25"', "#FFFFFF")):
            width = active if state else normal
            body = f'<rect width="{width}" height="15" rx="{RADIUS}" {ground}/>' * bool(ground)
            body += text(caption, (width - text_width(caption, size)) / 2, 11, size, color)
            yield STYLE, name + state, svg(width, 15, body)


# ---- Window, tabs and lists --------------------------------------------------------------------

def grounds():
    strip = 26
    body = gradient("strip", (0, "#676B92"), (1, THEME))
    body += gradient("page", (0, "#F0F0F4"), (1, "#DDDDDD"))
    body += box(0, 0, 8, strip, "url(#strip)") + box(0, strip, 8, 64, "url(#page)")
    yield STYLE, "main_bg", svg(8, strip + 64, body)

    for name, top, bottom, light in (("tab-select", "#FFFFFF", "#F0F0F4", 1),
                                     ("tab-un-select", "#C6C8D8", "#B4B7CB", 0.5)):
        lift = 2 if name == "tab-select" else 4
        shape = f"M1 26V{lift + RADIUS}A{RADIUS} {RADIUS} 0 0 1 {1 + RADIUS} {lift}" \
                f"H{139 - RADIUS}A{RADIUS} {RADIUS} 0 0 1 139 {lift + RADIUS}V26Z"
        body = gradient("face", (0, top), (1, bottom)) + f'<path d="{shape}" fill="url(#face)"/>'
        yield STYLE, name, svg(140, 26, body)

    body = box(0, 0, 8, 32, "#F7F7FA") + gradient("face", (0, "#F7F7FA"), (1, "#E1E2EA"))
    body += box(0, 8, 8, 23, "url(#face)") + box(0, 31, 8, 1, "#B4B6C6")
    yield STYLE, "bg-head", svg(8, 32, body)
    body = box(0, 0, 1, 31, "#C6C8D5") + box(1, 0, 1, 31, "#FDFDFE")
    yield STYLE, "bg-head-item", svg(2, 32, body)
    body = gradient("face", (0, "#DADCEA"), (1, "#C7CADD"))
    yield STYLE, "bg-table-select-list", svg(8, 40, body + box(0, 0, 8, 40, "url(#face)"))


# ---- Icons -------------------------------------------------------------------------------------

def state_icons():
    shapes = {
        "download_ing": ("#6F9FD8", "#4674B0",
                         stroke("M12 6.75V16M8 12.5 12 16.75 16 12.5", "#FFFFFF", 2.2)),
        "download_pause": ("#CF9A37", "#9A6A14",
                           box(8, 7, 3, 10, "#FFFFFF", 1) + box(13, 7, 3, 10, "#FFFFFF", 1)),
        "download_failed": ("#D9727C", "#B0404C",
                            stroke("M8.25 8.25 15.75 15.75M15.75 8.25 8.25 15.75", "#FFFFFF", 2.4)),
    }
    for name, (top, bottom, sign) in shapes.items():
        body = gradient("face", (0, top), (1, bottom))
        body += '<circle cx="12" cy="12.5" r="11" fill="#34364E" fill-opacity=".18"/>'
        body += '<circle cx="12" cy="12" r="11" fill="#FFFFFF"/>'
        body += '<circle cx="12" cy="12" r="10" fill="url(#face)"/>' + sign
        yield GENERATED, name, svg(24, 24, body)


def reel(x, y, radius, holes, hole, ring, hub, color):
    """A film reel: a disc with holes all round and one in the middle."""
    path = ""
    centres = [(x, y, radius)] + [(x, y, hub)] * bool(hub)
    for number in range(holes):
        turn = 2 * math.pi * number / holes - (math.pi / 2 if holes % 2 else math.pi / 4)
        centres.append((x + ring * math.cos(turn), y + ring * math.sin(turn), hole))
    for cx, cy, r in centres:
        path += f"M{cx - r:.2f} {cy:.2f}a{r} {r} 0 1 0 {2 * r} 0a{r} {r} 0 1 0 {-2 * r} 0Z"
    return f'<path d="{path}" fill="{color}" fill-rule="evenodd"/>'


TILE = gradient("tile", (0, "#8489B6"), (0.55, THEME), (1, "#474A6D"))


def full_icon(size):
    body = TILE + gradient("mark", (0, "#FFD27A"), (1, "#EFA92F"))
    body += box(8, 8, 240, 240, "url(#tile)", 50)
    body += box(11, 11, 234, 234, "none", 47,
                'stroke="#FFFFFF" stroke-opacity=".22" stroke-width="6"')
    body += reel(118, 118, 84, 5, 19, 51, 12, "#F6F6FA")
    body += '<circle cx="184" cy="184" r="56" fill="#4E5275"/>'
    body += '<circle cx="184" cy="184" r="46" fill="url(#mark)"/>'
    body += stroke("M184 160V204M165 187 184 206 203 187", INK, 13)
    return svg(size, size, body, 256)


def small_icon(size):
    """For 16 to 24 pixels: fewer and larger parts, drawn on a grid of 16."""
    body = TILE + box(0, 0, 16, 16, "url(#tile)", 3.5)
    body += box(0.5, 0.5, 15, 15, "none", 3, 'stroke="#FFFFFF" stroke-opacity=".35"')
    body += reel(8, 8, 5.7, 5, 1.3, 3.3, 0.7, "#FFFFFF")
    return svg(size, size, body, 16)


def icon(size):
    return (small_icon if size < 24 else full_icon)(size)


def icons():
    yield GENERATED, "mainframe_mediu", full_icon(48)
    yield GENERATED, "mainframe_small", small_icon(24)
    for size in (16, 32, 48, 256):
        yield ":/icons", f"reelkeeper-{size}", icon(size)
    body = gradient("back", (0, "#7C81AC"), (1, THEME))
    body += gradient("front", (0, "#A9ADD0"), (1, "#7E83AE"))
    body += '<path d="M1 13V3.5A1 1 0 0 1 2 2.5H6L7.5 4H13A1 1 0 0 1 14 5V13Z" fill="url(#back)"/>'
    body += '<path d="M3.2 6.5H15.2A.5 .5 0 0 1 15.7 7.1L14 13.5H1.2Z" fill="url(#front)"/>'
    yield GENERATED, "browse", svg(16, 16, body)


# ---- Output ------------------------------------------------------------------------------------

def render(job):
    drawing, zoom, target = job
    subprocess.run(["rsvg-convert", "--zoom", str(zoom), "-o", target], input=drawing.encode(),
                   check=True)


def main():
    for folder in (HERE / "svg", HERE / "pictures", DESKTOP):
        folder.mkdir(exist_ok=True)
        for old in folder.iterdir():
            old.unlink()
    jobs, prefixes = [], {}
    for source in (buttons, top_buttons, grounds, state_icons, icons):
        for prefix, name, drawing in source():
            (HERE / "svg" / f"{name}.svg").write_text(drawing)
            for zoom, suffix in ((1, ""), (2, "@2x")):
                file = f"{name}{suffix}.png"
                jobs.append((drawing, zoom, HERE / "pictures" / file))
                prefixes.setdefault(prefix, []).append(file)
    (DESKTOP / "reelkeeper.svg").write_text(full_icon(256))
    jobs += [(icon(size), 1, DESKTOP / f"{size}.png") for size in DESKTOP_SIZES]
    with ThreadPoolExecutor() as pool:
        list(pool.map(render, jobs))

    lines = ["<RCC>", '    <qresource prefix="/style/Shared/style">',
             '        <file>layout.qss</file>', "    </qresource>"]
    for prefix, files in prefixes.items():
        lines.append(f'    <qresource prefix="{prefix[1:]}">')
        lines += [f'        <file alias="{file}">pictures/{file}</file>' for file in sorted(files)]
        lines.append("    </qresource>")
    (HERE / "reelkeeper.qrc").write_text("\n".join(lines + ["</RCC>", ""]))


if __name__ == "__main__":
    main()
