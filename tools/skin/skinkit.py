"""Drawing kit of the default skin generator: places skin elements, draws their looks with
cairo, packs the extra button states below the window and writes the XML and PNG pair.
"""
import math
import os
from xml.sax.saxutils import quoteattr

import cairo

NAME = "Zorvik Default 4 decks"
SIZES = [(1024, 600), (1024, 768), (1280, 800), (1280, 1024), (1366, 768), (1920, 1080)]
FONT = "DejaVu Sans"

# Palette: a dark console, one colour per deck, lit states in the colour of their function.
BG = "#111216"
PANEL = "#1b1d22"
PANEL_EDGE = "#2b2e35"
SCREEN = "#0b0c0e"
KEY = "#2a2d34"
KEY_EDGE = "#3b3f48"
KEY_OVER = "#363a43"
TEXT = "#c9ced6"
DIM = "#7d838f"
DECK_COLOURS = ["#3a9cff", "#ff7b2e", "#2fd27c", "#bd6cff"]
DECK_LETTERS = "ABCD"
LIT = {"play": "#2fd27c", "cue": "#ffb02e", "sync": "#3a9cff", "loop": "#1fc8c8", "kill": "#ff4b4b",
       "fx": "#bd6cff", "rec": "#ff3b3b", "tab": "#5b6270", "plain": "#5b6270"}
HOTCUE = ["#ff4b4b", "#ffb02e", "#f4e04d", "#2fd27c", "#1fc8c8", "#3a9cff", "#bd6cff", "#ff6ec7"]


def rgb(hex_colour):
    h = hex_colour.lstrip("#")
    return tuple(int(h[i:i + 2], 16) / 255.0 for i in (0, 2, 4))


def lighter(hex_colour, amount):
    r, g, b = rgb(hex_colour)
    return "#%02x%02x%02x" % tuple(int(min(1, c + (1 - c) * amount) * 255) for c in (r, g, b))


class Skin:
    """Collects placed elements and draws them; writes the XML at the end."""

    def __init__(self, width, height):
        self.w, self.h = width, height
        self.k = min(width / 1280.0, height / 800.0)  # text and spacing follow the smaller axis
        self.elements = []  # (depth, xml text)
        self.group = None
        self.state_boxes = []  # buttons whose extra states go below the window
        self.looks = []  # (element index, w, h, draw(x, y), attributes(x, y)) packed below the window
        self.strips = {}  # (knob size, colour) -> element indices sharing one film strip
        self.pages = []
        self.dialog = None  # (bitmap x, bitmap y) of the dialog being laid out
        self.dialog_box = None  # (width, height, bitmap x, bitmap y) of the skin's dialogs
        self.dialog_elements = set()  # element indices that sit on the dialogs

    def s(self, value):
        return max(1, int(round(value * (0.55 + 0.45 * self.k))))

    # Drawing primitives ---------------------------------------------------------------
    def begin(self, page_height, pages):
        self.page_h = page_height
        self.page_count = pages
        self.state_y = height = self.h + page_height * pages
        self.surface_height = height + 2400  # trimmed after packing the button states and looks
        self.surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, self.w, self.surface_height)
        self.cr = cairo.Context(self.surface)
        self.fill_rect(0, 0, self.w, self.surface_height, BG)

    def clear_rect(self, x, y, w, h):
        """Fully transparent: for pictures drawn over the background, such as the record."""
        self.cr.save()
        self.cr.set_operator(cairo.OPERATOR_CLEAR)
        self.cr.rectangle(x, y, w, h)
        self.cr.fill()
        self.cr.restore()

    def fill_rect(self, x, y, w, h, colour):
        self.cr.set_source_rgb(*rgb(colour))
        self.cr.rectangle(x, y, w, h)
        self.cr.fill()

    def rounded(self, x, y, w, h, r, fill, edge=None, line=1.0):
        cr = self.cr
        r = min(r, w / 2.0, h / 2.0)
        cr.new_sub_path()
        cr.arc(x + w - r, y + r, r, -math.pi / 2, 0)
        cr.arc(x + w - r, y + h - r, r, 0, math.pi / 2)
        cr.arc(x + r, y + h - r, r, math.pi / 2, math.pi)
        cr.arc(x + r, y + r, r, math.pi, 1.5 * math.pi)
        cr.close_path()
        if fill:
            cr.set_source_rgb(*rgb(fill))
            cr.fill_preserve() if edge else cr.fill()
        if edge:
            cr.set_source_rgb(*rgb(edge))
            cr.set_line_width(line)
            cr.stroke()

    def text(self, x, y, w, h, label, colour, size, bold=True, align="center"):
        cr = self.cr
        cr.select_font_face(FONT, cairo.FONT_SLANT_NORMAL,
                            cairo.FONT_WEIGHT_BOLD if bold else cairo.FONT_WEIGHT_NORMAL)
        cr.set_font_size(size)
        ext = cr.text_extents(label)
        while ext.width > w - 2 and size > 6:
            size -= 0.5
            cr.set_font_size(size)
            ext = cr.text_extents(label)
        tx = x + (w - ext.width) / 2 - ext.x_bearing if align == "center" else x + 2 - ext.x_bearing
        fe = cr.font_extents()
        ty = y + h / 2 + (fe[0] - fe[1]) / 2
        cr.set_source_rgb(*rgb(colour))
        cr.move_to(tx, ty)
        cr.show_text(label)
        cr.new_path()

    def panel(self, x, y, w, h, title=None):
        self.rounded(x + 0.5, y + 0.5, w - 1, h - 1, self.s(5), PANEL, PANEL_EDGE)
        if title:
            self.text(x + 6, y + 2, w - 12, self.s(14), title, DIM, self.s(9), align="left")

    # Placing controls -----------------------------------------------------------------
    def origin(self):
        """Where the current container starts on screen and in the bitmap."""
        if self.dialog is not None:
            return 0, 0, self.dialog[0], self.dialog[1]
        if self.group is None:
            return 0, 0, 0, 0
        page, gx, gy, ux, uy = self.group
        return gx, gy, ux, uy

    def add(self, tag, action, x, y, w, h, deck=None, **attrs):
        """x, y are window coordinates; drawing happens at the bitmap place of the container."""
        gx, gy, ux, uy = self.origin()
        a = {"action": action}
        if deck is not None:
            a["deck"] = deck
        if self.group is not None:
            a["panel"] = self.group[0]
        a["posx"], a["posy"], a["width"], a["height"] = x - gx, y - gy, w, h
        if self.group is not None or self.dialog is not None:  # the corner is not the position: explicit
            a["upx"], a["upy"] = x - gx + ux, y - gy + uy
        a.update(attrs)
        body = " ".join("%s=%s" % (k, quoteattr(str(v))) for k, v in a.items())
        if self.dialog is not None:
            self.dialog_elements.add(len(self.elements))
        self.elements.append((1 if self.group is None else 2, "<%s %s/>" % (tag, body)))
        return x, y  # pages are drawn through a translation, see page()

    def button(self, action, x, y, w, h, label, deck=None, lit="plain", switch=False, colour=None):
        bx, by = self.add("button", action, x, y, w, h, deck, isswitch="yes" if switch else "no",
                          **{"_states": "1"})
        self.draw_key(bx, by, w, h, label, "up", lit, colour)
        self.state_boxes.append((len(self.elements) - 1, w, h, label, lit, colour))

    def draw_key(self, x, y, w, h, label, state, lit, colour):
        r = self.s(3)
        accent = colour or LIT[lit]
        if state == "up":
            self.rounded(x + 0.5, y + 0.5, w - 1, h - 1, r, KEY, KEY_EDGE)
            self.fill_rect(x + 3, y + h - 3, w - 6, 1.5, lighter(accent, 0.0) if colour else KEY_EDGE)
            fg = TEXT
        elif state == "over":
            self.rounded(x + 0.5, y + 0.5, w - 1, h - 1, r, KEY_OVER, lighter(KEY_EDGE, 0.25))
            self.fill_rect(x + 3, y + h - 3, w - 6, 1.5, accent)
            fg = "#ffffff"
        else:  # lit
            self.rounded(x + 0.5, y + 0.5, w - 1, h - 1, r, accent, lighter(accent, 0.35))
            fg = "#101114"
        self.text(x + 1, y, w - 2, h - 1, label, fg, min(self.s(10), h * 0.55))

    def knob(self, action, x, y, size, deck=None, label=None, colour="#d8dce4"):
        """A knob drawn at rest in the window; its turned looks are a film strip below it."""
        bx, by = self.add("slider", action, x, y, size, size, deck, isknob="yes", slidercolor=colour,
                          backcolor=PANEL, rotation=270, aliasing=1, spacebetweenpositions=0,
                          **{"_strip": "1"})
        self.strips.setdefault((size, colour), []).append(len(self.elements) - 1)
        self.draw_knob(bx, by, size, colour, 0.0)
        if label:
            self.text(x - 8, y + size, size + 16, self.s(11), label, DIM, self.s(8))

    def draw_knob(self, x, y, size, colour, angle):
        """The knob turned `angle` degrees from its minimum (0..270, clockwise from lower left)."""
        cr = self.cr
        cr.new_path()
        cx, cy, r = x + size / 2.0, y + size / 2.0, size / 2.0 - 1
        cr.set_line_width(max(1.5, size / 12.0))
        cr.set_source_rgb(*rgb("#30343c"))
        cr.arc(cx, cy, r - 1, math.radians(135), math.radians(405))
        cr.stroke()
        if angle > 0.5:
            cr.set_source_rgb(*rgb(colour))
            cr.arc(cx, cy, r - 1, math.radians(135), math.radians(135 + angle))
            cr.stroke()
        cr.arc(cx, cy, r * 0.72, 0, 2 * math.pi)
        grad = cairo.LinearGradient(cx, cy - r, cx, cy + r)
        grad.add_color_stop_rgb(0, *rgb("#3c4049"))
        grad.add_color_stop_rgb(1, *rgb("#22252b"))
        cr.set_source(grad)
        cr.fill_preserve()
        cr.set_source_rgb(*rgb("#4a4f5a"))
        cr.set_line_width(1)
        cr.stroke()
        a = math.radians(135 + angle)
        cr.set_source_rgb(*rgb("#f0f0f0"))
        cr.set_line_width(max(1.2, size / 16.0))
        cr.move_to(cx + math.cos(a) * r * 0.25, cy + math.sin(a) * r * 0.25)
        cr.line_to(cx + math.cos(a) * r * 0.68, cy + math.sin(a) * r * 0.68)
        cr.stroke()

    def fader(self, action, x, y, w, h, deck=None, horizontal=False, cap=None):
        cap = cap or self.s(14)
        cap_w, cap_h = (cap, h - 4) if horizontal else (w - 4, cap)
        bx, by = self.add("slider", action, x, y, w, h, deck, cursorwidth=cap_w, cursorheight=cap_h,
                          slidercolor="#d8dce4", backcolor=PANEL)
        cr = self.cr
        if horizontal:
            for i in range(11):
                tx = bx + cap_w / 2 + (w - cap_w) * i / 10.0
                self.fill_rect(tx, by + 1, 1, 3 if i % 5 else 5, "#4a4f5a")
            self.rounded(bx + cap_w / 2, by + h / 2 - 2, w - cap_w, 4, 2, "#07080a", "#2b2e35")
        else:
            for i in range(11):
                ty = by + cap_h / 2 + (h - cap_h) * i / 10.0
                self.fill_rect(bx + 1, ty, 3 if i % 5 else 5, 1, "#4a4f5a")
            self.rounded(bx + w / 2 - 2, by + cap_h / 2, 4, h - cap_h, 2, "#07080a", "#2b2e35")

    def display(self, action, x, y, w, h, deck=None, size=2, colour=TEXT, align="center"):
        self.add("textarea", action, x, y, w, h, deck, graphics_mode=1, backcolor=SCREEN,
                 bordercolor="#262930", bordervisible="yes", fontcolor=colour, fontsize=size,
                 fontstyle="bold", fontalign=align)

    def label(self, action, x, y, w, h, deck=None, colour=DIM, size=0, align="center"):
        self.add("textarea", action, x, y, w, h, deck, fontcolor=colour, fontsize=size,
                 fontstyle="bold", fontalign=align)

    def screen(self, tag, action, x, y, w, h, deck=None, **attrs):
        bx, by = self.add(tag, action, x, y, w, h, deck, **attrs)
        self.rounded(bx + 0.5, by + 0.5, w - 1, h - 1, self.s(3), SCREEN, "#262930")
        return bx, by

    def meter(self, action, x, y, w, h, deck=None, horizontal=False):
        """A meter of 24 steps: the dark steps in the window, the lit ones in a look below it."""
        steps = 24
        length = w if horizontal else h
        pitch = max(2, length // steps)
        bx, by = self.add("vumeter", action, x, y, w, h, deck, indicator="yes", activestepsize=pitch,
                          colorlow="#2fd27c", colormid="#f4e04d", colorhigh="#ff4b4b", backcolorlow="#12301f",
                          backcolormid="#333116", backcolorhigh="#3a1616", **{"_look": "1"})
        self.draw_meter(bx, by, w, h, horizontal, pitch, False)
        self.looks.append((len(self.elements) - 1, w, h,
                           lambda lx, ly: self.draw_meter(lx, ly, w, h, horizontal, pitch, True),
                           lambda lx, ly: 'activeupx="%d" activeupy="%d"' % (lx, ly)))

    def draw_meter(self, x, y, w, h, horizontal, pitch, lit):
        self.fill_rect(x, y, w, h, SCREEN)
        for i in range(24):
            # Green to -10 dB (step 7), yellow to 0 dB (step 15), red above.
            band = 0 if i < 8 else 1 if i < 16 else 2
            colour = (["#2fd27c", "#f4e04d", "#ff4b4b"] if lit else ["#12301f", "#333116", "#3a1616"])[band]
            if horizontal:
                self.fill_rect(x + i * pitch, y + 1, pitch - 1, h - 2, colour)
            else:
                self.fill_rect(x + 1, y + h - (i + 1) * pitch, w - 2, pitch - 1, colour)

    # Groups -----------------------------------------------------------------------------
    def open_group(self, x, y, w, h, pages):
        self.big = (x, y, w, h)
        attrs = {"action": "big_tab", "posx": x, "posy": y, "width": w, "height": h, "panels": pages}
        for i in range(pages):
            ux, uy = (x, y) if i == 0 else (0, self.h + (i - 1) * self.page_h)
            attrs["up%dx" % i], attrs["up%dy" % i] = ux, uy
        body = " ".join("%s=%s" % (k, quoteattr(str(v))) for k, v in attrs.items())
        self.elements.append((1, "<group %s>" % body))

    def page(self, index):
        x, y, w, h = self.big
        ux, uy = (x, y) if index == 0 else (0, self.h + (index - 1) * self.page_h)
        self.group = (index, x, y, ux, uy)
        self.cr.identity_matrix()
        self.cr.translate(ux - x, uy - y)  # draw in window coordinates, land on the page's place
        if index > 0:
            self.fill_rect(x, y, w, h, BG)
            self.panel(x, y, w, h)

    def close_group(self):
        self.group = None
        self.cr.identity_matrix()
        self.elements.append((1, "</group>"))

    # Dialogs ----------------------------------------------------------------------------
    def open_dialog(self, w, h):
        """The skin's dialog windows, laid out in their own coordinates from (0, 0) and drawn
        below the pages; the message and confirm dialogs share this one picture and layout."""
        ux, uy = 0, self.state_y
        self.state_y += h
        self.dialog = (ux, uy)
        self.dialog_box = (w, h, ux, uy)
        self.cr.identity_matrix()
        self.cr.translate(ux, uy)

    def close_dialog(self):
        self.dialog = None
        self.cr.identity_matrix()

    def dialog_windows(self):
        if not self.dialog_box:
            return []
        w, h, ux, uy = self.dialog_box
        lines = []
        # The controls are one set: the window loaded last holds them, and a dialog about to
        # show takes them over.
        for name in ("message_dialog", "confirm_dialog"):
            lines.append('  <window name="%s" width="%d" height="%d" upx="%d" upy="%d" usecolors="no">' % (
                name, w, h, ux, uy))
            lines += ["    " + self.elements[i][1] for i in sorted(self.dialog_elements)]
            lines.append("  </window>")
        return lines

    # Output -----------------------------------------------------------------------------
    def pack_states(self):
        """Hover and lit looks of every button, packed in rows below the pages."""
        x, y, row_h = 0, self.state_y, 0
        for index, w, h, label, lit, colour in self.state_boxes:
            if x + 2 * w > self.w:
                x, y, row_h = 0, y + row_h, 0
            self.draw_key(x, y, w, h, label, "over", lit, colour)
            self.draw_key(x + w, y, w, h, label, "lit", lit, colour)
            depth, xml = self.elements[index]
            states = 'overx="%d" overy="%d" downx="%d" downy="%d" selx="%d" sely="%d" ' \
                     'overselx="%d" oversely="%d" downselx="%d" downsely="%d"' % (
                         x, y, x + w, y, x + w, y, x + w, y, x + w, y)
            self.elements[index] = (depth, xml.replace('_states="1"', states))
            x += 2 * w
            row_h = max(row_h, h)
        return y + row_h

    def pack_looks(self, top):
        """Lit meters, then the knobs' film strips, below the button states."""
        x, y, row_h = 0, top, 0
        for index, w, h, draw, attributes in self.looks:
            if x + w > self.w:
                x, y, row_h = 0, y + row_h, 0
            draw(x, y)
            depth, xml = self.elements[index]
            self.elements[index] = (depth, xml.replace('_look="1"', attributes(x, y)))
            x += w
            row_h = max(row_h, h)
        y += row_h
        # A strip holds the whole turn in one row from the left edge, so no frame wraps: frame i
        # shows the knob at (i + 1) * 360 / positions degrees, the last one at its minimum.
        for (size, colour), indices in sorted(self.strips.items()):
            positions = min(64, self.w // size)
            for i in range(positions):
                angle = min(270.0, ((i + 1) * 360.0 / positions) % 360.0)
                self.fill_rect(i * size, y, size, size, PANEL)
                self.draw_knob(i * size, y, size, colour, angle)
            for index in indices:
                depth, xml = self.elements[index]
                self.elements[index] = (depth, xml.replace(
                    '_strip="1"', 'positions="%d" overx="0" overy="%d"' % (positions, y)))
            y += size
        return y

    def write(self, folder):
        bottom = self.pack_looks(self.pack_states())
        base = os.path.join(folder, "%s %dx%d" % (NAME, self.w, self.h))
        cropped = cairo.ImageSurface(cairo.FORMAT_ARGB32, self.w, bottom)
        cr = cairo.Context(cropped)
        cr.set_source_surface(self.surface, 0, 0)
        cr.paint()
        cropped.write_to_png(base + ".png")
        lines = ['<?xml version="1.0" encoding="UTF-8"?>',
                 '<skin skinname=%s screenwidth="%d" screenheight="%d" targetversion="2">' % (
                     quoteattr(NAME), self.w, self.h),
                 '  <window name="main" width="%d" height="%d" upx="0" upy="0" usecolors="no">' % (
                     self.w, self.h)]
        for i, (depth, xml) in enumerate(self.elements):
            if i not in self.dialog_elements:
                lines.append("  " * (depth + 1) + xml)
        lines.append("  </window>")
        lines += self.dialog_windows()
        lines += ["</skin>", ""]
        with open(base + ".xml", "w") as out:
            out.write("\n".join(lines))
