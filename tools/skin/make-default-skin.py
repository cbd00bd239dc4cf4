#!/usr/bin/python3
"""Draws the default skin, "Zorvik Default 4 decks", in its five reference sizes.

For each size it writes data/skins/<name> <W>x<H>.xml and the PNG of the same base name. The
layout below is computed from the window size (nothing is scaled as a picture, so every size is
drawn sharp). The PNG holds the window as it looks at rest; below it, the looks of the tab pages
the big_tab group switches to; below those, the hover and lit states of every button.

Needs only Debian packages: python3 and python3-cairo. Run from anywhere:
    tools/skin/make-default-skin.py [output-folder]
"""
import math
import os
import sys

import cairo

sys.dont_write_bytecode = True  # keep the source folder clean
from skinkit import (  # noqa: E402
    BG, DECK_COLOURS, DECK_LETTERS, DIM, HOTCUE, NAME, PANEL_EDGE, SCREEN, SIZES, TEXT, Skin, lighter, rgb)


# The layout ---------------------------------------------------------------------------------

def badge(skin, x, y, size, deck):
    bx, by = x, y
    skin.rounded(bx, by, size, size, skin.s(3), DECK_COLOURS[deck])
    skin.text(bx, by, size, size, DECK_LETTERS[deck], "#101114", size * 0.7)


def row_of_buttons(skin, x, y, w, h, recipes, deck=None, gap=3):
    """recipes: (action, label, lit, switch, colour) tuples laid out evenly."""
    n = len(recipes)
    bw = (w - gap * (n - 1)) / float(n)
    for i, (action, label, lit, switch, colour) in enumerate(recipes):
        bx = int(round(x + i * (bw + gap)))
        nx = int(round(x + (i + 1) * (bw + gap) - gap))
        skin.button(action, bx, y, nx - bx, h, label, deck, lit, switch, colour)


def top_bar(skin, gap):
    s, W = skin.s, skin.w
    h = s(34)
    bh = h - s(14)
    k = h - s(8)
    skin.panel(0, 0, W, h)
    skin.text(gap + 2, 0, s(120), h, "ZORVIK LUMO", "#e8ebf0", s(14), align="left")
    x = gap + s(124)
    skin.display("time", x, s(6), s(64), h - s(12), size=3, colour="#e8ebf0")
    x += s(64) + gap * 2
    # Microphone.
    skin.label("label_gain_mic", x, 0, s(30), h, align="right")
    skin.knob("mic_gain", x + s(32), s(4), k)
    x += s(32) + k + gap
    row_of_buttons(skin, x, s(7), s(100), bh, [("onair", "ON AIR", "rec", True, None),
                                               ("talkover", "TALK", "cue", True, None)])
    # Window buttons at the right edge, the CPU meter before them.
    recipes = [("learn", "LEARN", "cue", True, None, s(50)), ("cfg", "SETUP", "plain", False, None, s(50)),
             ("minimize", "_", "plain", False, None, s(24)), ("maximize", "[ ]", "plain", False, None, s(24)),
             ("close", "X", "kill", False, None, s(24))]
    right = W - gap - sum(recipe[5] for recipe in recipes) - 3 * (len(recipes) - 1)
    x = right
    for action, label, lit, switch, colour, w in recipes:
        skin.button(action, x, s(7), w, bh, label, None, lit, switch, colour)
        x += w + 3
    cpu_w = max(48, s(50))  # two pixels a step at the least
    skin.meter("vm_cpu", right - gap - cpu_w, s(12), cpu_w, h - s(24), horizontal=True)
    # Master section, ending before them.
    cluster = 3 * (s(54) + k + gap) + s(80) + gap + s(54) + gap + s(44) + 3 + s(62)
    x = right - 3 * gap - cpu_w - cluster
    for action, label_action in (("master_gain", "label_gain_master"), ("monitor_gain", "label_gain_monitor"),
                                 ("cue_pfl_mix", "label_pfl_mix")):
        skin.label(label_action, x, 0, s(52), h, align="right")
        skin.knob(action, x + s(54), s(4), k)
        x += s(54) + k + gap
    mh = (h - s(14)) // 2
    skin.meter("vm_masterl", x, s(6), s(80), mh, horizontal=True)
    skin.meter("vm_masterr", x, s(8) + mh, s(80), mh, horizontal=True)
    x += s(80) + gap
    skin.button("limiter", x, s(7), s(54), bh, "LIMIT", None, "fx", True)
    x += s(54) + gap
    skin.button("recording", x, s(7), s(44), bh, "REC", None, "rec", True)
    x += s(44) + 3
    skin.display("record_time", x, s(7), s(62), bh, colour="#ff6b6b")
    return h


def waveforms(skin, y, gap, wave_h):
    s, W = skin.s, skin.w
    for deck in range(4):
        wy = y + deck * (wave_h + 2)
        badge(skin, gap, wy, wave_h, deck)
        x, w = gap + wave_h + 3, W - 2 * gap - wave_h - 3
        # The play cursor stands at a third; the beat-difference box sits right of the beat digits.
        bx, by = skin.screen("sounddisplay", "sd_deck", x, wy, w, wave_h, deck,
                             datacolor=DECK_COLOURS[deck], cursorcolor="#ffffff", loopcolor="#1fc8c8",
                             cuecolor="#ffb02e", fontcolor=TEXT, fontsize=0, cursorpos=w // 3,
                             beatdiffvisible="yes", beatdiffx=62, beatdiffy=max(2, wave_h - 31))
        skin.fill_rect(bx + 2, by + wave_h / 2.0, w - 4, 1, lighter(DECK_COLOURS[deck], 0.0))
    return 4 * (wave_h + 2) - 2


def wheel(skin, x, y, size, deck):
    """The platter's surround stays in the window; the record itself (dots, marker and label)
    is a transparent picture below it that the control turns with the music."""
    r = size / 2.0 - 1.5
    cursor = max(3, size // 22)
    bx, by = skin.add("sg_wheel", "deck_wheel", x, y, size, size, deck, size=size, cursorcolor="#ffffff",
                      trailcursorcolor="#555a66", cursorsize=cursor, radius=int(r * 0.94 - cursor / 2.0),
                      **{"_look": "1"})
    cr = skin.cr
    cx, cy = bx + size / 2.0, by + size / 2.0
    cr.new_path()
    cr.arc(cx, cy, r, 0, 2 * math.pi)
    cr.set_source_rgb(*rgb("#08090b"))
    cr.fill()
    cr.set_line_width(max(2, size / 28.0))
    cr.set_source_rgb(*rgb(DECK_COLOURS[deck]))
    cr.arc(cx, cy, r - 1, 0, 2 * math.pi)
    cr.stroke()
    grad = cairo.RadialGradient(cx, cy - r * 0.3, r * 0.1, cx, cy, r * 0.9)
    grad.add_color_stop_rgb(0, *rgb("#2e323a"))
    grad.add_color_stop_rgb(1, *rgb("#17191d"))
    cr.arc(cx, cy, r * 0.88, 0, 2 * math.pi)
    cr.set_source(grad)
    cr.fill()
    skin.looks.append((len(skin.elements) - 1, size, size, lambda lx, ly: draw_record(skin, lx, ly, size, r, deck),
                       lambda lx, ly: 'transparentwheelx="%d" transparentwheely="%d"' % (lx, ly)))


def draw_record(skin, x, y, size, r, deck):
    skin.clear_rect(x, y, size, size)
    cr = skin.cr
    cx, cy = x + size / 2.0, y + size / 2.0
    for i in range(48):  # platter dots
        a = 2 * math.pi * i / 48
        cr.set_source_rgb(*rgb("#3b3f48"))
        cr.arc(cx + math.cos(a) * r * 0.8, cy + math.sin(a) * r * 0.8, max(0.8, size / 150.0), 0, 2 * math.pi)
        cr.fill()
    cr.set_source_rgb(*rgb("#f0f0f0"))
    cr.set_line_width(max(2, size / 40.0))
    cr.move_to(cx, cy - r * 0.86)
    cr.line_to(cx, cy - r * 0.55)
    cr.stroke()
    skin.rounded(cx - r * 0.3, cy - r * 0.3, r * 0.6, r * 0.6, r * 0.3, "#0e0f12", DECK_COLOURS[deck])
    skin.text(cx - r * 0.3, cy - r * 0.3, r * 0.6, r * 0.6, DECK_LETTERS[deck], DECK_COLOURS[deck], r * 0.32)


def deck_column(skin, deck, x, y, w, h):
    s = skin.s
    colour = DECK_COLOURS[deck]
    skin.panel(x, y, w, h)
    pad, row, gap = s(5), s(20), 3
    ix, iw = x + pad, w - 2 * pad
    # Files and list rows dropped on the deck's letter load it.
    skin.add("dropzone", "dz_deck", ix, y + pad, row, row, deck)
    badge(skin, ix, y + pad, row, deck)
    skin.display("deck_songname", ix + row + gap, y + pad, iw - row - gap, row, deck, size=1, align="left")
    y2 = y + pad + row + gap
    third = (iw - 2 * gap) // 3
    skin.display("deck_elapsed", ix, y2, third, row, deck, size=2, colour="#e8ebf0")
    skin.display("deck_remained", ix + third + gap, y2, third, row, deck, size=2, colour=DIM)
    skin.display("deck_bpm", ix + 2 * (third + gap), y2, iw - 2 * (third + gap), row, deck, size=2, colour=colour)
    y3 = y2 + row + gap
    skin.screen("sg_beatpos", "deck_beatpos", ix, y3, iw, s(7), deck, elementwidth=iw // 4)
    for i in range(1, 4):
        skin.fill_rect(ix + iw * i // 4, y3 + 1, 1, s(7) - 2, "#2b2e35")
    # The seek strip: the whole track, the cursor where the deck plays.
    yp = y3 + s(7) + gap
    seek_h = s(10)
    skin.fader("deck_pos", ix, yp, iw, seek_h, deck, horizontal=True, cap=s(6))
    y4 = yp + seek_h + gap
    # The pitch column runs down the right edge beside everything below, so the fader is long
    # enough to match tempos by ear.
    small = s(16)
    pw = s(44)
    px = ix + iw - pw
    lw = iw - pw - gap  # what is left of it
    skin.display("deck_pitch_tempo", px, y4, pw, small, deck, size=0, colour=colour)
    fader_top = y4 + small + gap
    fader_h = y + h - pad - fader_top - 2 * (small + gap)
    skin.fader("deck_pitch", px + pw // 2 - s(11), fader_top, s(22), fader_h, deck)
    yb = fader_top + fader_h + gap
    row_of_buttons(skin, px, yb, pw, small, [("deck_bend_down", "-", "sync", False, None),
                                            ("deck_bend_up", "+", "sync", False, None)], deck)
    row_of_buttons(skin, px, yb + small + gap, pw, small, [("deck_key_lock", "KEY", "sync", True, None),
                                                          ("deck_reset_pitch", "0", "plain", False, None)],
                   deck)
    # Transport, loops, hot cues and effects along the bottom, left of the pitch column.
    bottom_rows = s(24) + 4 * row + 5 * gap
    avail = y + h - pad - bottom_rows - y4
    side = max(s(40), int(lw * 0.26))
    size = int(max(s(40), min(avail, lw - side - gap)))
    wheel(skin, ix, y4 + (avail - size) // 2, size, deck)
    # Beside the wheel: the key and its shift, and the tempo tapped in by hand.
    sx, sw = ix + size + gap, lw - size - gap
    skin.display("deck_pitch_key_label", sx, y4, sw, small, deck, size=0, colour=colour)
    knob = int(min(sw, s(40), max(s(18), avail - 2 * (small + gap) - s(12))))
    skin.knob("deck_pitch_key", sx + (sw - knob) // 2, y4 + small + gap, knob, deck, colour=colour)
    skin.text(sx, y4 + small + gap + knob, sw, s(11), "KEY", DIM, s(8))
    skin.button("deck_edit_bpm", sx, y4 + avail - small, sw, small, "TAP", deck, "sync")
    yt = y + h - pad - bottom_rows + gap
    row_of_buttons(skin, ix, yt, lw, s(24), [("deck_cue", "CUE", "cue", False, None),
                                            ("deck_play_pause", "PLAY", "play", True, None),
                                            ("deck_sync", "SYNC", "sync", False, None),
                                            ("deck_load", "LOAD", "plain", False, None)], deck)
    yl = yt + s(24) + gap
    row_of_buttons(skin, ix, yl, lw, row, [("deck_setcue", "SET", "cue", False, None),
                                          ("deck_back_to_top", "TOP", "plain", False, None),
                                          ("deck_loop_in_end", "IN", "loop", False, None),
                                          ("deck_loop_out", "OUT", "loop", False, None),
                                          ("deck_loop_reloop", "RE", "loop", False, None),
                                          ("deck_loop_less", "/2", "loop", False, None),
                                          ("deck_loop_more", "x2", "loop", False, None)], deck, gap=2)
    yl2 = yl + row + gap
    row_of_buttons(skin, ix, yl2, lw, row, [("deck_loop_half", "1/2", "loop", True, None),
                                           ("deck_loop_1", "1", "loop", True, None),
                                           ("deck_loop_2", "2", "loop", True, None),
                                           ("deck_loop_4", "4", "loop", True, None),
                                           ("deck_loop_8", "8", "loop", True, None),
                                           ("deck_loop_16", "16", "loop", True, None)], deck, gap=2)
    yc = yl2 + row + gap
    row_of_buttons(skin, ix, yc, lw, row, [("deck_cuepos_%d" % (i + 1), str(i + 1), "plain", False, HOTCUE[i])
                                          for i in range(8)], deck, gap=2)
    yf = yc + row + gap
    row_of_buttons(skin, ix, yf, lw, row, [("fx_sel", "FX", "fx", True, None),
                                          ("deck_reverse", "REV", "fx", True, None),
                                          ("deck_brake", "BRAKE", "fx", True, None),
                                          ("deck_skip_beat_prev", "-1", "plain", False, None),
                                          ("deck_skip_beat", "+1", "plain", False, None)], deck, gap=2)


def mixer(skin, x, y, w, h, order):
    s = skin.s
    skin.panel(x, y, w, h)
    pad, gap = s(5), 3
    sw = (w - 2 * pad) // 4
    xf_h = s(22)
    head = s(14)
    cue_h = s(16)
    min_fader = s(84)
    knob = int(max(s(16), min(sw - s(24), s(30), (h - 2 * pad - head - cue_h - min_fader - xf_h - 6 * gap) / 5 - 2)))
    for i, deck in enumerate(order):
        sx = x + pad + i * sw
        if i:
            skin.fill_rect(sx - 1, y + pad, 1, h - 2 * pad - xf_h - gap, PANEL_EDGE)
        badge(skin, sx + (sw - head) // 2, y + pad, head, deck)
        ky = y + pad + head + gap
        side_x, side_w = sx + knob + s(4), sw - knob - s(7)
        rows = [("deck_gain", None, "label_gain"), ("deck_eq_high", ("deck_kill_high", "HI"), None),
                ("deck_eq_mid", ("deck_kill_mid", "MID"), None), ("deck_eq_low", ("deck_kill_low", "LOW"), None),
                ("deck_cutoff_filter", None, "label_filter")]
        readouts = {"deck_gain": "deck_gain_val", "deck_eq_high": "deck_eq_high_val",
                    "deck_eq_mid": "deck_eq_mid_val", "deck_eq_low": "deck_eq_low_val"}
        for action, kill, label in rows:
            skin.knob(action, sx + s(2), ky, knob, deck, colour=DECK_COLOURS[deck] if action == "deck_cutoff_filter" else "#d8dce4")
            # The name (or kill switch) over the knob's value, both beside it.
            top_h = knob // 2 if action in readouts else knob
            if kill:
                skin.button(kill[0], side_x, ky, side_w, top_h - 1, kill[1], deck, "kill", True)
            else:
                skin.label(label, side_x - 2, ky, side_w + 4, top_h, deck, size=0)
            if action in readouts:
                skin.label(readouts[action], side_x - 2, ky + top_h, side_w + 4, knob - top_h, deck, colour=TEXT,
                           size=0)
            ky += knob + 2
        ky += gap
        skin.button("deck_monitor", sx + s(2), ky, sw - s(5), cue_h, "CUE", deck, "cue", True)
        ky += cue_h + gap
        fader_h = y + h - pad - xf_h - gap - ky
        mw = s(6)
        skin.fader("deck_volume", sx + s(2), ky, sw - mw - s(8), fader_h, deck)
        skin.meter("vm_deck", sx + sw - mw - s(4), ky, mw, fader_h, deck)
    skin.fader("crossfader", x + pad + s(20), y + h - pad - xf_h, w - 2 * pad - s(40), xf_h, horizontal=True)
    skin.text(x + pad, y + h - pad - xf_h, s(18), xf_h, "A", DIM, s(10))
    skin.text(x + w - pad - s(18), y + h - pad - xf_h, s(18), xf_h, "B", DIM, s(10))


def library_toolbar(skin, x, y, w, h):
    s = skin.s
    search_w = int(w * 0.2)
    skin.screen("editarea", "et_search", x, y, search_w, h, backcolor=SCREEN, fontcolor=TEXT, fontsize=1)
    skin.text(x + 6, y, search_w, h, "Search...", "#4c525e", s(10), bold=False, align="left")
    x += search_w + 6
    recipes = [("add", "ADD", "plain", False, None), ("add_dir", "FOLDER", "plain", False, None),
             ("remove", "REMOVE", "plain", False, None), ("clear", "CLEAR", "plain", False, None),
             ("shuffle", "SHUFFLE", "plain", False, None), ("ss_preview", "PREVIEW", "cue", True, None)]
    bw = s(62)
    row_of_buttons(skin, x, y, len(recipes) * (bw + 3) - 3, h, recipes)
    x += len(recipes) * (bw + 3) + 6
    skin.knob("preview", x, y, h)
    x += h + 10
    row_of_buttons(skin, x, y, s(140) + 3, h, [("autodj", "AUTO-MIX", "play", True, None),
                                               ("autodj_next", "MIX NOW", "plain", False, None)])
    x += s(140) + 6
    skin.button("autodj_less", x, y, s(22), h, "-", None, "plain")
    x += s(22) + 3
    skin.display("auto_dj_time", x, y, s(48), h, size=1)
    x += s(48) + 3
    skin.button("autodj_more", x, y, s(22), h, "+", None, "plain")
    x += s(22) + 10
    right = skin.w - 2 * 6 - 3 * s(66) - 6
    tabs = [("fx_mic_sel", "MIC FX", "fx", True, None), ("fx_master_sel", "MASTER FX", "fx", True, None),
            ("fx_samples_sel", "SAMPLER", "fx", True, None)]
    row_of_buttons(skin, max(x, right), y, 3 * s(66) + 6, h, tabs)


def list_screen(skin, tag, action, x, y, w, h, columns, rows_h):
    bx, by = skin.screen(tag, action, x, y, w, h, fontcolor=TEXT, headerfontcolor=DIM, gridcolor="#1c1f24",
                         cursorcolor="#2a3f5c", slidercolor="#3b3f48", lineheight=rows_h, fontsize=1)
    head = rows_h + 2
    skin.fill_rect(bx + 1, by + 1, w - 2, head, "#16181c")
    cx = bx + 6
    total = sum(c[1] for c in columns)
    for name, share in columns:
        cw = (w - 14) * share / float(total)
        skin.text(cx, by + 1, cw, head, name, DIM, skin.s(9), align="left")
        cx += cw
    y0 = by + head + 1
    i = 0
    while y0 + rows_h < by + h - 2:
        if i % 2:
            skin.fill_rect(bx + 1, y0, w - 2, rows_h, "#0f1013")
        y0 += rows_h
        i += 1
    skin.fill_rect(bx + w - 9, by + head + 2, 6, h - head - 4, "#15171b")


def effects_page(skin, deck, x, y, w, h):
    s = skin.s
    pad, gap = s(6), 4
    badge(skin, x + pad, y + pad, s(18), deck)
    skin.label("label_effects", x + pad + s(22), y + pad, s(90), s(18), deck, size=1, align="left")
    skin.button("fx_add", x + w - pad - s(80), y + pad, s(80), s(18), "ADD FX", deck, "fx")
    names = [("pan", "AUTOPAN"), ("flanger", "FLANGER"), ("phaser", "PHASER"), ("reverb", "REVERB"),
             ("echo", "ECHO"), ("delay", "DELAY"), ("beatwaw", "BEATWAW")]
    chain_w = int(w * 0.26)
    bw = (w - 2 * pad - chain_w - gap * 7) / 7.0
    top = y + pad + s(18) + gap
    bh = s(18)
    rows_top = top + 3 + bh + gap
    row_h = (y + h - pad - 4 - rows_top) // 3
    knob = int(min(row_h - 4, bw * 0.42))
    for i, (fx, title) in enumerate(names):
        bx = int(x + pad + i * (bw + gap))
        skin.panel(bx, top, int(bw), y + h - pad - top)
        skin.button("deck_fx_" + fx, bx + 3, top + 3, int(bw) - 6, bh, title, deck, "fx", True)
        for j, (p, caption) in enumerate((("drywet", "DRY/WET"), ("param1", "PARAM 1"), ("param2", "PARAM 2"))):
            ky = rows_top + j * row_h + (row_h - knob) // 2
            skin.knob("deck_fx_%s_%s" % (fx, p), bx + 6, ky, knob, deck, colour=DECK_COLOURS[deck])
            tx, tw = bx + 10 + knob, int(bw) - knob - 14
            skin.text(tx, ky, tw, knob // 2, caption, DIM, s(8), align="left")
            skin.display("deck_fx_%s_%s_val" % (fx, p), tx, ky + knob // 2, tw, max(s(12), knob // 2 - 1),
                         deck, size=0, colour=TEXT)
    cx = int(x + w - pad - chain_w)
    skin.panel(cx, top, chain_w, y + h - pad - top)
    rh = (y + h - pad - top - 6 - 3 * 3) // 4
    for i in range(4):
        ry = top + 3 + i * (rh + 3)
        skin.button("deck_fx_on%d" % (i + 1), cx + 3, ry, s(34), rh, "ON", deck, "fx", True)
        skin.display("deck_fx_name%d" % (i + 1), cx + s(40), ry, chain_w - s(40) - s(44) - 6, rh, deck, size=0,
                     align="left")
        skin.button("deck_fx_edit%d" % (i + 1), cx + chain_w - s(44) - 3, ry, s(44), rh, "EDIT", deck)


def mic_page(skin, x, y, w, h):
    s = skin.s
    pad = s(8)
    skin.label("label_microphone", x + pad, y + pad, s(160), s(18), size=1, align="left")
    skin.button("fx_mic_add", x + w - pad - s(80), y + pad, s(80), s(18), "ADD FX", None, "fx")
    knob = min(s(48), h - 3 * pad - s(18) - s(14) * 2)
    kx = x + pad
    ky = y + 2 * pad + s(18)
    for band, label, kill, title in (("low", "label_eqlow_mic", "mic_kill_low", "LOW"),
                                     ("mid", "label_eqmid_mic", "mic_kill_mid", "MID"),
                                     ("high", "label_eqhigh_mic", "mic_kill_high", "HIGH")):
        skin.label(label, kx, ky, knob + s(20), s(14))
        skin.knob("mic_eq_" + band, kx + s(10), ky + s(14), knob)
        skin.display("mic_eq_%s_val" % band, kx, ky + s(14) + knob + 2, knob + s(20), s(14), size=0)
        skin.button(kill, kx + knob + s(26), ky + s(14) + knob // 2 - s(9), s(44), s(18), title, None, "kill", True)
        kx += knob + s(84)
    skin.display("mic_gain_val", kx, ky + s(14), s(60), s(18), size=1)
    skin.meter("vm_microphone", kx + s(70), ky + s(14), s(10), knob + s(16))


def master_page(skin, x, y, w, h):
    s = skin.s
    pad = s(8)
    skin.label("label_master_monitor", x + pad, y + pad, s(200), s(18), size=1, align="left")
    skin.button("fx_master_add", x + w - pad - s(80), y + pad, s(80), s(18), "ADD FX", None, "fx")
    knob = min(s(48), h - 3 * pad - s(18) - s(14) * 2)
    ky = y + 2 * pad + s(18)
    kx = x + pad
    for action, label, val in (("cf_curve", "label_cf_curve", "cf_curve_val"),
                               ("cue_pgm_mix", None, None)):
        if label:
            skin.label(label, kx, ky, knob + s(20), s(14))
        else:
            skin.text(kx - s(10), ky, knob + s(40), s(14), "CUE / MASTER", DIM, s(8))
        skin.knob(action, kx + s(10), ky + s(14), knob)
        if val:
            skin.display(val, kx, ky + s(14) + knob + 2, knob + s(20), s(14), size=0)
        kx += knob + s(40)
    for i, (val, caption) in enumerate((("master_gain_val", "MASTER"), ("monitor_gain_val", "MONITOR"))):
        skin.text(kx, ky + s(14) + i * s(22), s(60), s(18), caption, DIM, s(8), align="left")
        skin.display(val, kx + s(62), ky + s(14) + i * s(22), s(64), s(18), size=1)
    kx += s(140)
    col = [("phones_split", "SPLIT CUE", "cue"), ("sync_lock", "SYNC LOCK", "sync"),
           ("lock_crossfaders", "LINK XF", "plain")]
    for i, (action, title, lit) in enumerate(col):
        skin.button(action, kx, ky + i * s(24), s(96), s(20), title, None, lit, True)
    kx += s(110)
    fw = min(s(220), x + w - pad - kx - s(110))
    skin.text(kx, ky, fw, s(14), "AUDIO / VIDEO CROSSFADERS", DIM, s(9))
    skin.fader("cf_audio", kx, ky + s(16), fw, s(20), horizontal=True)
    skin.fader("cf_video", kx, ky + s(40), fw, s(20), horizontal=True)
    kx += fw + s(10)
    skin.button("enable_video", kx, ky, s(96), s(20), "VIDEO", None, "sync", True)
    skin.button("enable_karaoke", kx, ky + s(24), s(96), s(20), "KARAOKE", None, "sync", True)


def sampler_page(skin, x, y, w, h):
    s = skin.s
    skin.label("label_sampler", x + s(8), y + s(8), s(160), s(18), size=1, align="left")
    for i in range(8):
        cw = (w - s(16) - 7 * 6) / 8.0
        cx = x + s(8) + i * (cw + 6)
        skin.rounded(cx, y + s(32), cw, h - s(42), s(4), "#15171b", "#262930")
        skin.text(cx, y + s(36), cw, s(16), "SLOT %d" % (i + 1), "#4c525e", s(9))


def layout(skin):
    s, W, H = skin.s, skin.w, skin.h
    gap = s(6)
    wave_h = int(H * (0.045 if H < 700 else 0.052))
    lib_h = int(H * (0.27 if H < 700 else 0.30))
    tool_h = s(22)
    deck_y = s(34) + gap + 4 * (wave_h + 2) - 2 + gap
    lib_y = H - gap - lib_h
    deck_h = lib_y - tool_h - 2 * gap - deck_y
    page_h = lib_h
    skin.begin(page_h, 7)
    top_bar(skin, gap)
    waveforms(skin, s(34) + gap, gap, wave_h)
    mixer_w = int(W * 0.23)
    deck_w = (W - mixer_w - 6 * gap) // 4
    xs = [gap, gap * 2 + deck_w]
    mixer_x = xs[1] + deck_w + gap
    xs += [mixer_x + mixer_w + gap, mixer_x + mixer_w + 2 * gap + deck_w]
    mixer_w = xs[2] - gap - mixer_x
    last_w = W - gap - xs[3]
    for deck, x, w in ((2, xs[0], deck_w), (0, xs[1], deck_w), (1, xs[2], deck_w), (3, xs[3], last_w)):
        deck_column(skin, deck, x, deck_y, w, deck_h)
    mixer(skin, mixer_x, deck_y, mixer_w, deck_h, [2, 0, 1, 3])
    library_toolbar(skin, gap, lib_y - tool_h - gap, W - 2 * gap, tool_h)
    gx, gy, gw, gh = gap, lib_y, W - 2 * gap, lib_h
    skin.open_group(gx, gy, gw, gh, 8)
    skin.page(0)
    browser_w = int(gw * 0.2)
    rows_h = s(18)
    list_screen(skin, "browser", "browser", gx, gy, browser_w, gh, [("FOLDERS AND LISTS", 1)], rows_h)
    list_screen(skin, "list", "playlist", gx + browser_w + gap, gy, gw - browser_w - gap, gh,
                [("TITLE", 5), ("ARTIST", 4), ("BPM", 1), ("KEY", 1), ("LENGTH", 1.2)], rows_h)
    for deck in range(4):
        skin.page(deck + 1)
        effects_page(skin, deck, gx, gy, gw, gh)
    skin.page(5)
    mic_page(skin, gx, gy, gw, gh)
    skin.page(6)
    master_page(skin, gx, gy, gw, gh)
    skin.page(7)
    sampler_page(skin, gx, gy, gw, gh)
    skin.close_group()
    dialogs(skin)


def dialogs(skin):
    """The skin's own question and message box: the text over an OK button at the bottom right,
    with Cancel to its left for questions."""
    s = skin.s
    w, h = s(420), s(150)
    skin.open_dialog(w, h)
    skin.fill_rect(0, 0, w, h, BG)
    skin.panel(0, 0, w, h)
    skin.fill_rect(1, 1, w - 2, s(4), DECK_COLOURS[0])
    pad, bw, bh = s(12), s(84), s(26)
    skin.label("special_dialog_message", pad, pad + s(6), w - 2 * pad, h - 3 * pad - bh, colour=TEXT, size=1)
    skin.button("special_dialog_ok", w - pad - bw, h - pad - bh, bw, bh, "OK", None, "play")
    skin.button("special_dialog_cancel", w - pad - 2 * bw - s(8), h - pad - bh, bw, bh, "CANCEL", None, "kill")
    skin.close_dialog()


ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)


def draw_icon(cr, size):
    """The program's icon: the four deck colours around a dark platter."""
    c = size / 2.0
    for i, colour in enumerate(DECK_COLOURS):
        cr.set_source_rgb(*rgb(colour))
        cr.move_to(c, c)
        cr.arc(c, c, c - size / 64.0, math.radians(-90 + 90 * i), math.radians(90 * i))
        cr.close_path()
        cr.fill()
    cr.set_source_rgb(*rgb("#111216"))
    cr.arc(c, c, c * 0.62, 0, 2 * math.pi)
    cr.fill()
    cr.select_font_face("DejaVu Sans", cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD)
    cr.set_font_size(size * 0.5)
    ext = cr.text_extents("Z")
    cr.set_source_rgb(*rgb("#e8ebf0"))
    cr.move_to(c - ext.width / 2 - ext.x_bearing, c - ext.height / 2 - ext.y_bearing)
    cr.text_path("Z")
    cr.fill()


def write_icon(path, size=64):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, size, size)
    draw_icon(cairo.Context(surface), size)
    surface.write_to_png(path)


def write_desktop_icons(folder):
    """The icon theme's sizes for the desktop and software centres, and a scalable one."""
    for size in ICON_SIZES:
        apps = os.path.join(folder, "%dx%d" % (size, size), "apps")
        os.makedirs(apps, exist_ok=True)
        write_icon(os.path.join(apps, "zorvik-lumo.png"), size)
    scalable = os.path.join(folder, "scalable", "apps")
    os.makedirs(scalable, exist_ok=True)
    surface = cairo.SVGSurface(os.path.join(scalable, "zorvik-lumo.svg"), 256, 256)
    draw_icon(cairo.Context(surface), 256)
    surface.finish()


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "..", "data", "skins")
    os.makedirs(folder, exist_ok=True)
    for width, height in SIZES:
        skin = Skin(width, height)
        layout(skin)
        skin.write(folder)
        print("%s %dx%d: %d elements" % (NAME, width, height, len(skin.elements)))
    icons = os.path.join(folder, "..", "icons")
    os.makedirs(icons, exist_ok=True)
    write_icon(os.path.join(icons, "zorvik-lumo.png"))
    write_desktop_icons(os.path.join(icons, "hicolor"))


if __name__ == "__main__":
    main()
