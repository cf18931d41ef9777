#!/usr/bin/env python3
"""Writes the sample project (project.zkproj and its library files) into samples/sample, and the
block icons into samples/icons.

The files are committed; run this after changing it:  python3 samples/generate_sample.py

The sample is a small drive controller: a global area with plant-wide logic, two axes with a
position loop over a speed loop and a brake sequence, an area read back from a device, one that
names a block no library has, and one still being commissioned, with the problems the checks find.
"""
import base64
import json
import math
import os

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "sample")
ICONS = os.path.join(HERE, "icons")
BOOL, SINT, INT, DINT, USINT, UINT, UDINT, REAL, LREAL, TIME, ANY = range(1, 12)
IN, OUTPUT = 1, 2


def text(de, en=None):
    t = {"de": de}
    if en:
        t["en"] = en
    return t


# ---------------------------------------------------------------------------------------------
# Icons. One frame for all, tinted with the accent of the block's group; the glyph is drawn in a
# dark neutral so that it stays legible at 16 px on every tint. Glyphs are paths, not text, so
# they look the same whatever fonts the machine has.

ACCENTS = {  # frame stroke, frame fill
    "logic": ("#2F6FBF", "#E4EEF9"),
    "arithmetic": ("#2E8B57", "#E3F3E9"),
    "time": ("#C7761C", "#FBEEDD"),
    "control": ("#7A4FB8", "#EEE7F7"),
    "system": ("#56707F", "#E8EDF0"),
}
INK = "#263238"


def gear_path(cx=12.0, cy=12.0, teeth=8, outer=7.0, inner=5.2):
    points = []
    for k in range(teeth):
        base = 2 * math.pi * k / teeth
        half = math.pi / teeth
        for angle, radius in ((base - half * 0.9, inner), (base - half * 0.45, outer),
                              (base + half * 0.45, outer), (base + half * 0.9, inner)):
            points.append((cx + radius * math.cos(angle), cy + radius * math.sin(angle)))
    return "M" + " L".join("%.2f %.2f" % p for p in points) + " Z"


def dot(x, y, r=1.1):
    return '<circle cx="%g" cy="%g" r="%g" fill="%s" stroke="none"/>' % (x, y, r, INK)


def p(d):
    return '<path d="%s"/>' % d


LETTER_P = "M{x} 17 V7 H{x2} A2.5 2.5 0 0 1 {x2} 12 H{x}"

GLYPHS = {
    "and": p("M16.5 17.5 L9.8 10.8 C8.3 9.3 8.7 6.5 10.9 6.5 C13 6.5 13.4 9.1 11.5 10.4 L9.5 11.8 "
             "C7.3 13.3 7.9 17.5 10.9 17.5 C13 17.5 14.5 16 15.7 13.8"),
    "or": p("M5 7.5 L10.5 10.25 L5 13 M5 16 H10.5 M14 9 L16.5 7 V17"),
    "xor": p("M5 10 H10.5 M5 14 H10.5 M14 9 L16.5 7 V17"),
    "not": p("M4.5 12 H8.5 M15.5 12 H19.5") + '<circle cx="12" cy="12" r="3.5"/>',
    "rs": p("M5 17 V7 H8.2 A2.5 2.5 0 0 1 8.2 12 H5 M8 12 L10.5 17")
          + p("M18.5 8.3 C18 7.3 17 6.8 15.8 6.8 C14.2 6.8 13.2 7.8 13.2 9.2 C13.2 12.4 18.8 11.2 18.8 14.6 "
              "C18.8 16.2 17.6 17.2 15.9 17.2 C14.5 17.2 13.4 16.6 12.9 15.5"),
    "sr": p("M10.5 8.3 C10 7.3 9 6.8 7.8 6.8 C6.2 6.8 5.2 7.8 5.2 9.2 C5.2 12.4 10.8 11.2 10.8 14.6 "
            "C10.8 16.2 9.6 17.2 7.9 17.2 C6.5 17.2 5.4 16.6 4.9 15.5")
          + p("M13.5 17 V7 H16.7 A2.5 2.5 0 0 1 16.7 12 H13.5 M16.5 12 L19 17"),
    "rising": p("M4.5 17 H11 V7 H19.5 M8.5 11 L11 8.5 L13.5 11"),
    "falling": p("M4.5 7 H11 V17 H19.5 M8.5 13 L11 15.5 L13.5 13"),
    "add": p("M12 6 V18 M6 12 H18"),
    "sub": p("M6 12 H18"),
    "mul": p("M7.5 7.5 L16.5 16.5 M16.5 7.5 L7.5 16.5"),
    "div": p("M6 12 H18") + dot(12, 7.5) + dot(12, 16.5),
    "gt": p("M8 6.5 L16.5 12 L8 17.5"),
    "lt": p("M16 6.5 L7.5 12 L16 17.5"),
    "ge": p("M7.5 5.5 L16.5 10 L7.5 14.5 M7.5 18 H16.5"),
    "le": p("M16.5 5.5 L7.5 10 L16.5 14.5 M7.5 18 H16.5"),
    "eq": p("M6 9.5 H18 M6 14.5 H18"),
    "ne": p("M6 9.5 H18 M6 14.5 H18 M15 6 L9 18"),
    "sel": p("M4.5 8 H8 M4.5 16 H8 M9.5 16 L16 12 H19.5") + dot(8.6, 8) + dot(8.6, 16),
    "max": p("M6 17 L12 9 L18 17 M6 6 H18"),
    "min": p("M6 7 L12 15 L18 7 M6 18 H18"),
    "limit": '<path d="M4.5 7 H19.5 M4.5 17 H19.5" stroke-opacity="0.45"/>'
             + p("M4.5 17 L8 7 H12 L15.5 17 H19.5"),
    "abs": p("M6.5 6 V18 M17.5 6 V18 M9.5 9.5 L14.5 14.5 M14.5 9.5 L9.5 14.5"),
    "convert": '<rect x="4.5" y="7.5" width="5" height="5" rx="1"/>'
               + '<circle cx="17" cy="14.5" r="2.75"/>' + p("M9.5 14.5 H12.5 M11 13 L12.5 14.5 L11 16"),
    "ton": '<circle cx="12" cy="10" r="5"/>' + p("M12 7.5 V10 L14 11.2 M5 19 H12 V16.5 H19"),
    "tof": '<circle cx="12" cy="10" r="5"/>' + p("M12 7.5 V10 L14 11.2 M5 16.5 H14 V19 H19"),
    "tp": '<circle cx="12" cy="10" r="5"/>' + p("M12 7.5 V10 L14 11.2 M5 19 H8.5 V16.5 H15.5 V19 H19"),
    "counter": p("M7 17 V7 M4.5 9.5 L7 7 L9.5 9.5 M12.5 7.5 H17.5 L14.8 11 C17.2 11 18.3 12.4 17.9 14.5 "
                 "C17.4 17 14 17.6 12.6 15.8"),
    "ramp": p("M4.5 17 H8 L16 7 H19.5"),
    "pt1": '<path d="M5 6 V18 H19" stroke-opacity="0.45"/>'
           + p("M5 18 C8 18 8.5 9.5 12.5 8.6 C15 8 17 8 19.5 8"),
    "pi": p("M5 17 V7 H8.7 A2.5 2.5 0 0 1 8.7 12 H5 M15 7 V17 M12.5 7 H17.5 M12.5 17 H17.5"),
    "sine": p("M4.5 12 C6 6.5 9 6.5 12 12 C15 17.5 18 17.5 19.5 12"),
    "constant": p("M8.5 6.5 V17.5 M16 6.5 L8.5 13 M11 11 L16 17.5"),
    "parameterRead": p(LETTER_P.format(x=4.5, x2=8.2) + " M12 14.5 H19 M16.7 12.2 L19 14.5 L16.7 16.8"),
    "parameterWrite": p(LETTER_P.format(x=13.5, x2=17.2) + " M4.5 14.5 H11 M8.7 12.2 L11 14.5 L8.7 16.8"),
    "text": p("M7 7 H17 M12 7 V17"),
    "pinIn": p("M4.5 12 H14 M11 9 L14 12 L11 15 M17.5 6 V18"),
    "pinOut": p("M6.5 6 V18 M10 12 H19.5 M16.5 9 L19.5 12 L16.5 15"),
    "brake": '<circle cx="12" cy="12" r="4"/>'
             + p("M6.2 7 A8 8 0 0 0 6.2 17 M17.8 7 A8 8 0 0 1 17.8 17"),
    "gear": p(gear_path()) + '<circle cx="12" cy="12" r="2"/>',
    "template": '<rect x="6" y="6" width="12" height="12" rx="1.5" stroke-dasharray="2 1.5"/>'
                + p("M12 9.5 V14.5 M9.5 12 H14.5"),
}

ICON_GROUP = {
    "and": "logic", "or": "logic", "xor": "logic", "not": "logic", "rs": "logic", "sr": "logic",
    "rising": "logic", "falling": "logic",
    "add": "arithmetic", "sub": "arithmetic", "mul": "arithmetic", "div": "arithmetic", "gt": "arithmetic",
    "lt": "arithmetic", "ge": "arithmetic", "le": "arithmetic", "eq": "arithmetic", "ne": "arithmetic",
    "sel": "arithmetic", "max": "arithmetic", "min": "arithmetic", "limit": "arithmetic", "abs": "arithmetic",
    "convert": "arithmetic",
    "ton": "time", "tof": "time", "tp": "time", "counter": "time",
    "ramp": "control", "pt1": "control", "pi": "control", "sine": "control", "brake": "control", "gear": "control",
    "constant": "system", "parameterRead": "system", "parameterWrite": "system", "text": "system",
    "pinIn": "system", "pinOut": "system", "template": "system",
}


def icon_svg(name):
    stroke, fill = ACCENTS[ICON_GROUP[name]]
    return ('<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24">\n'
            '  <rect x="1.75" y="1.75" width="20.5" height="20.5" rx="3.5" fill="%s" stroke="%s" stroke-width="1.5"/>\n'
            '  <g fill="none" stroke="%s" stroke-width="1.5" stroke-linecap="round" stroke-linejoin="round">%s</g>\n'
            '</svg>\n') % (fill, stroke, INK, GLYPHS[name])


ICON_CACHE = {}


def icon(name):
    if name not in ICON_CACHE:
        data = icon_svg(name).encode("utf-8")
        with open(os.path.join(ICONS, name + ".svg"), "wb") as f:
            f.write(data)
        ICON_CACHE[name] = base64.b64encode(data).decode("ascii")
    return ICON_CACHE[name]


# ---------------------------------------------------------------------------------------------
# Blocks and definitions.

def pin(pid, function, datatype, short, de, en=None, desc=None, initial=""):
    return {"id": pid, "function": function, "datatype": datatype, "shortName": short,
            "name": text(de, en), "description": text(desc) if desc else {}, "invertible": True,
            "initial": initial}


# Pin layout of every definition, so that wires can be drawn to where the pins are:
# (identifier, version) -> (width, {pin: (side, row)}).
SHAPES = {}
ENABLE_PIN = -1
STUB = 3  # a pin's stub runs this far out of the block; wires meet it at its far end


def definition(pins, function="", description=None, code=None, version=0, runtime=0, btype=0,
               icon_name="", width=4, local_blocks=(), step_in=True):
    inputs = [q["id"] for q in pins if q["function"] == IN]
    outputs = [q["id"] for q in pins if q["function"] == OUTPUT]
    d = {"version": version, "type": btype, "function": function,
         "description": text(*description) if description else {},
         "accessWrite": 0, "accessRead": 0, "stepIn": step_in, "runtime": runtime,
         "parameterBlock": False, "pins": pins,
         "symbol": {"inputs": inputs, "outputs": outputs,
                    "defaultSize": [width, max(len(inputs), len(outputs), 1) + 1], "size": None, "image": ""},
         "icon": icon(icon_name) if icon_name else "", "parameters": [], "localBlocks": list(local_blocks)}
    if code is not None:
        d["code"] = code
    return d


TITLE_CHAR = 0.2  # model units a character of the block title takes, near enough


def block(identifier, de, en, short, group, definitions, user=False, version_visible=False):
    for d in definitions:
        # The title is the block's name; a symbol too narrow for it would push it into the labels
        # of the output pins.
        size = d["symbol"]["defaultSize"]
        size[0] = max(size[0], math.ceil(len(de) * TITLE_CHAR + 0.2))
        shape = {}
        inputs, outputs = d["symbol"]["inputs"], d["symbol"]["outputs"]
        for row, pid in enumerate(inputs):
            shape[pid] = ("in", row)
        # The enable pin owns the top row, so the outputs never face it.
        first = 1 if ENABLE_PIN in inputs else 0
        for row, pid in enumerate(outputs):
            shape[pid] = ("out", row + first)
        SHAPES[(identifier, d["version"])] = (d["symbol"]["defaultSize"][0], shape)
    return {"identifier": identifier, "name": text(de, en), "shortName": short, "group": group,
            "user": user, "fallback": False, "versionVisible": version_visible, "definitions": definitions}


def snap(value):
    return round(value * 2) / 2


def num(value):
    """Whole numbers stay integers in the files, so that unchanged positions read as before."""
    return int(value) if float(value).is_integer() else value


class Code:
    """The code of one definition. Layouts are written on a compact grid: columns 8 apart, a block 4
    wide, the vertical runs of its wires in the 4 units before the next column, pin rows on whole
    numbers. Drawn that way, pin stubs and their labels would run into each other, so the grid is
    spread when placed: each column moves to its entry in `columns` (16 apart unless told), a lane
    in a gap is spread over the room left between the stub ends, and a row y of the grid becomes
    y - 0.5, where the pin really sits."""

    def __init__(self, columns=None, grid_widths=None):
        self.instances, self.connections, self.next, self.rt = [], [], 1, 0
        self.where = {}
        self.columns = dict(columns or {2 + 8 * k: 2 + 16 * k for k in range(10)})
        self.grid_widths = dict(grid_widths or {})  # columns whose blocks the grid draws wider than 4
        self.widths = {}

    def _column(self, x):
        starts = sorted(self.columns)
        below = [c for c in starts if c <= x]
        if not below:
            raise ValueError("x = %s lies left of the first column" % x)
        return below[-1], next((c for c in starts if c > x), None)

    def spread_x(self, x):
        """Where grid x lands: a column start or a point in a block keeps its distance to the
        column start; a lane between columns keeps its share of the room between the stubs."""
        start, following = self._column(x)
        new_start = self.columns[start]
        grid_width = self.grid_widths.get(start, 4)
        offset = x - start
        if offset <= grid_width:
            return new_start + offset
        old_gap_end = following if following is not None else start + 8
        new_gap_end = self.columns[following] if following is not None else new_start + 16
        room_from, room_to = new_start + self.widths.get(start, 4) + STUB, new_gap_end - STUB
        share = (offset - grid_width) / (old_gap_end - start - grid_width)
        return snap(room_from + share * (room_to - room_from))

    def add(self, ident, x, y, version=0, name="", params="", lines=None, initial=None, inverted=(),
            runtime=True, size=None):
        iid = self.next
        self.next += 1
        if runtime:
            self.rt += 1
        pins = []
        for pid in sorted(set((initial or {}).keys()) | set(inverted)):
            pins.append({"id": pid, "inverted": pid in inverted, "remanent": False,
                         "initial": (initial or {}).get(pid, "")})
        if x in self.columns:
            placed = self.columns[x]
        else:
            placed = self.spread_x(x)
        if size is None:
            width = SHAPES.get((ident, version), (4, {}))[0]
            self.widths[x] = max(self.widths.get(x, 0), width)
        self.instances.append({"id": iid, "block": ident, "version": version, "name": name,
                               "position": [placed, y], "realtime": self.rt if runtime else 0, "background": 0,
                               "parameters": params, "lines": lines or [], "note": "", "error": 0,
                               "size": size, "pins": pins})
        self.where[iid] = (ident, version, placed, y)
        return iid

    def pin_point(self, iid, pid):
        """The connection point: the far end of the pin's stub, half a row below the row's top."""
        ident, version, x, y = self.where[iid]
        width, shape = SHAPES.get((ident, version), (4, {}))
        side, row = shape.get(pid, ("out" if pid > 1 else "in", 0))
        if side == "out":
            return (x + width + STUB, y + row + 0.5)
        return (x - STUB, y + row + 0.5)

    def wire(self, a, pa, b, pb, lane=None, via=None):
        """An orthogonal wire from stub end to stub end: straight when both pins share a row, else
        one vertical run at grid x = lane (default: halfway); `via` gives the corner points of a
        longer way round in grid coordinates."""
        (sx, sy), (tx, ty) = self.pin_point(a, pa), self.pin_point(b, pb)
        if via is not None:
            corners = [[self.spread_x(x), y - 0.5] for x, y in via]
        elif sy == ty:
            corners = []
        else:
            x = self.spread_x(lane) if lane is not None else snap((sx + tx) / 2)
            corners = [[x, sy], [x, ty]]
        nodes = [[sx, sy]] + corners + [[tx, ty]]
        for (x1, y1), (x2, y2) in zip(nodes, nodes[1:]):
            if x1 != x2 and y1 != y2:
                raise ValueError("wire %d.%d -> %d.%d is not orthogonal at %s" % (a, pa, b, pb, nodes))
        nodes = [[num(x), num(y)] for x, y in nodes]
        self.connections.append({"source": [a, pa], "target": [b, pb], "nodes": nodes})

    def json(self):
        return {"instances": self.instances, "connections": self.connections}


PIN_IN, PIN_OUT, TEXT, CONST = "SystemBlock_2", "SystemBlock_3", "SystemBlock_1", "ToolBlock_8000008"
READ, WRITE = "MagicBlock_300005", "MagicBlock_300006"


def pin_in(code, number, x, y):
    return code.add(PIN_IN, x, y, lines=[str(number)], runtime=False)


def pin_out(code, number, x, y):
    return code.add(PIN_OUT, x, y, lines=[str(number)], runtime=False)


def comment(code, x, y, lines, width=20):
    return code.add(TEXT, x, y, lines=lines, runtime=False, size=[width, len(lines) + 1])


def constant(code, x, y, value, name="", type_number=REAL):
    return code.add(CONST, x, y, version=1, name=name, params="%d;30;10;1;" % type_number, initial={1: value})


# ---------------------------------------------------------------------------------------------
# The standard library.

LOGIC, MEMORY = "1;10;100", "1;10;101"
ARITH, COMPARE, SELECT = "1;11;110", "1;11;111", "1;11;112"
TIMERS, COUNTERS = "1;12;120", "1;12;121"
CONTROLLERS, GENERATORS = "1;13;130", "1;13;131"
LOOPS, SEQUENCES = "2;20;200", "2;21;210"
TOOLS, PARAMS, DISPLAY, TEMPLATES = "3;30;300", "3;31;310", "3;32;320", "3;33;330"
PLANT, INTERNAL = "4;40;400", "5;50;500"


def standard_blocks():
    blocks = []

    def simple(num, de, en, short, group, fn, pins, desc_de, desc_en, icon_name=None, **kw):
        blocks.append(block("StandardBlock_%d" % num, de, en, short, group,
                            [definition(pins, fn, (desc_de, desc_en), icon_name=icon_name or fn)], **kw))

    def bool_inputs(n):
        return [pin(i + 1, IN, BOOL, "E%d" % (i + 1), "Eingang %d" % (i + 1), "Input %d" % (i + 1),
                    "Boolesches Eingangssignal %d." % (i + 1)) for i in range(n)]

    # Logic. The AND has a second version with four inputs; instances show which one they use.
    and_versions = []
    for version, n in ((0, 2), (1, 4)):
        pins = bool_inputs(n) + [pin(n + 1, OUTPUT, BOOL, "A", "Ausgang", "Output",
                                     "Wahr, solange alle Eingänge wahr sind.")]
        and_versions.append(definition(pins, "and", ("UND-Verknüpfung: der Ausgang ist wahr, wenn alle %d Eingänge wahr sind." % n,
                                                     "AND: the output is true when all %d inputs are true." % n),
                                       version=version, icon_name="and"))
    blocks.append(block("StandardBlock_1", "UND", "AND", "AND", LOGIC, and_versions, version_visible=True))
    simple(2, "ODER", "OR", "OR", LOGIC, "or",
           bool_inputs(2) + [pin(3, OUTPUT, BOOL, "A", "Ausgang", "Output", "Wahr, sobald ein Eingang wahr ist.")],
           "ODER-Verknüpfung: der Ausgang ist wahr, wenn mindestens ein Eingang wahr ist.",
           "OR: the output is true when at least one input is true.")
    simple(3, "Exklusiv-ODER", "Exclusive OR", "XOR", LOGIC, "xor",
           bool_inputs(2) + [pin(3, OUTPUT, BOOL, "A", "Ausgang", "Output", "Wahr bei ungleichen Eingängen.")],
           "Exklusiv-ODER: der Ausgang ist wahr, wenn genau einer der beiden Eingänge wahr ist.",
           "Exclusive OR: the output is true when exactly one input is true.")
    simple(4, "NICHT", "NOT", "NOT", LOGIC, "not",
           [pin(1, IN, BOOL, "E", "Eingang", "Input", "Das zu negierende Signal."),
            pin(2, OUTPUT, BOOL, "A", "Ausgang", "Output", "Die Negation des Eingangs.")],
           "Negation: der Ausgang ist wahr, wenn der Eingang falsch ist.", "NOT: the output is the negated input.")
    simple(5, "RS-Kippglied", "RS flip-flop", "RS", MEMORY, "rs",
           [pin(1, IN, BOOL, "S", "Setzen", "Set", "Setzt den Ausgang."),
            pin(2, IN, BOOL, "R1", "Rücksetzen (vorrangig)", "Reset (dominant)", "Setzt den Ausgang zurück; hat Vorrang vor S."),
            pin(3, OUTPUT, BOOL, "Q", "Zustand", "State", "Der gespeicherte Zustand.")],
           "Speicherglied mit vorrangigem Rücksetzen: S setzt, R1 setzt zurück, beide zugleich setzen zurück.",
           "Flip-flop with dominant reset.")
    simple(6, "SR-Kippglied", "SR flip-flop", "SR", MEMORY, "sr",
           [pin(1, IN, BOOL, "S1", "Setzen (vorrangig)", "Set (dominant)", "Setzt den Ausgang; hat Vorrang vor R."),
            pin(2, IN, BOOL, "R", "Rücksetzen", "Reset", "Setzt den Ausgang zurück."),
            pin(3, OUTPUT, BOOL, "Q", "Zustand", "State", "Der gespeicherte Zustand.")],
           "Speicherglied mit vorrangigem Setzen: S1 setzt, R setzt zurück, beide zugleich setzen.",
           "Flip-flop with dominant set.")
    simple(7, "Flanke steigend", "Rising edge", "R_TRIG", MEMORY, "rising",
           [pin(1, IN, BOOL, "CLK", "Signal", "Signal", "Das überwachte Signal."),
            pin(2, OUTPUT, BOOL, "Q", "Impuls", "Pulse", "Einen Zyklus lang wahr nach dem Wechsel von falsch auf wahr.")],
           "Erkennt die steigende Flanke: der Ausgang ist einen Zyklus lang wahr, wenn das Signal wahr wird.",
           "Rising edge: true for one cycle when the signal becomes true.")
    simple(8, "Flanke fallend", "Falling edge", "F_TRIG", MEMORY, "falling",
           [pin(1, IN, BOOL, "CLK", "Signal", "Signal", "Das überwachte Signal."),
            pin(2, OUTPUT, BOOL, "Q", "Impuls", "Pulse", "Einen Zyklus lang wahr nach dem Wechsel von wahr auf falsch.")],
           "Erkennt die fallende Flanke: der Ausgang ist einen Zyklus lang wahr, wenn das Signal falsch wird.",
           "Falling edge: true for one cycle when the signal becomes false.")

    # Arithmetic.
    def two(num, de, en, short, group, fn, t_in, t_out, result_de, desc_de, desc_en, names=("E1", "E2")):
        simple(num, de, en, short, group, fn,
               [pin(1, IN, t_in, names[0], "Eingang 1", "Input 1", "Erster Operand."),
                pin(2, IN, t_in, names[1], "Eingang 2", "Input 2", "Zweiter Operand."),
                pin(3, OUTPUT, t_out, "A", "Ergebnis", "Result", result_de)], desc_de, desc_en)

    two(20, "Addition", "Addition", "ADD", ARITH, "add", REAL, REAL, "E1 + E2.",
        "Addiert die beiden Eingänge.", "Adds the inputs.")
    two(21, "Subtraktion", "Subtraction", "SUB", ARITH, "sub", REAL, REAL, "E1 − E2.",
        "Zieht den zweiten Eingang vom ersten ab.", "Subtracts the second input from the first.")
    two(22, "Multiplikation", "Multiplication", "MUL", ARITH, "mul", REAL, REAL, "E1 · E2.",
        "Multipliziert die beiden Eingänge.", "Multiplies the inputs.")
    two(23, "Division", "Division", "DIV", ARITH, "div", REAL, REAL, "E1 / E2; 0 bei Division durch 0.",
        "Teilt den ersten Eingang durch den zweiten; bei Divisor 0 ist das Ergebnis 0.",
        "Divides the first input by the second; 0 when dividing by zero.")
    two(24, "Addition ganzzahlig", "Integer addition", "ADD_DI", ARITH, "add", DINT, DINT, "E1 + E2, ganzzahlig.",
        "Addiert zwei ganze Zahlen (DINT).", "Adds two integers.")
    simple(25, "Betrag", "Absolute value", "ABS", ARITH, "abs",
           [pin(1, IN, REAL, "E", "Eingang", "Input", "Vorzeichenbehafteter Wert."),
            pin(2, OUTPUT, REAL, "A", "Betrag", "Absolute value", "Der Wert ohne Vorzeichen.")],
           "Bildet den Betrag des Eingangs.", "Absolute value of the input.")
    simple(26, "Typwandlung DINT nach REAL", "Convert DINT to REAL", "DI_TO_R", ARITH, "convert",
           [pin(1, IN, DINT, "E", "Ganzzahl", "Integer", "Der ganzzahlige Wert."),
            pin(2, OUTPUT, REAL, "A", "Gleitkommazahl", "Real", "Derselbe Wert als Gleitkommazahl.")],
           "Wandelt eine Ganzzahl in eine Gleitkommazahl.", "Converts an integer to a real.")
    for num, de, en, short, fn, sign, t in ((30, "Vergleich größer", "Greater than", "GT", "gt", ">", REAL),
                                            (31, "Vergleich kleiner", "Less than", "LT", "lt", "<", REAL),
                                            (32, "Vergleich größer gleich", "Greater or equal", "GE", "ge", "≥", REAL),
                                            (33, "Vergleich kleiner gleich", "Less or equal", "LE", "le", "≤", REAL),
                                            (34, "Vergleich gleich", "Equal", "EQ", "eq", "=", DINT),
                                            (35, "Vergleich ungleich", "Not equal", "NE", "ne", "≠", DINT)):
        two(num, de, en, short, COMPARE, fn, t, BOOL, "Wahr, wenn E1 %s E2." % sign,
            "Vergleicht zwei Werte: der Ausgang ist wahr, wenn E1 %s E2 gilt." % sign,
            "Compares two values: true when E1 %s E2." % sign)
    simple(40, "Auswahl", "Select", "SEL", SELECT, "sel",
           [pin(1, IN, BOOL, "G", "Auswahl", "Selector", "Falsch wählt IN0, wahr wählt IN1."),
            pin(2, IN, REAL, "IN0", "Wert bei falsch", "Value if false", "Wird durchgereicht, solange G falsch ist."),
            pin(3, IN, REAL, "IN1", "Wert bei wahr", "Value if true", "Wird durchgereicht, solange G wahr ist."),
            pin(4, OUTPUT, REAL, "OUT", "Ausgang", "Output", "Der gewählte Wert.")],
           "Gibt abhängig von G einen der beiden Werte aus.", "Outputs IN0 or IN1 depending on G.")
    for num, de, en, short, fn, what in ((41, "Maximum", "Maximum", "MAX", "max", "größten"),
                                         (42, "Minimum", "Minimum", "MIN", "min", "kleinsten")):
        simple(num, de, en, short, SELECT, fn,
               [pin(1, IN, REAL, "E1", "Eingang 1", "Input 1", "Erster Vergleichswert."),
                pin(2, IN, REAL, "E2", "Eingang 2", "Input 2", "Zweiter Vergleichswert."),
                pin(3, OUTPUT, REAL, "A", de, en, "Der %s der Eingänge." % what)],
               "Gibt den %s der Eingangswerte aus." % what, "Outputs the %s input." % en.lower())
    simple(43, "Begrenzer", "Limiter", "LIMIT", SELECT, "limit",
           [pin(1, IN, REAL, "E", "Eingang", "Input", "Der zu begrenzende Wert."),
            pin(2, IN, REAL, "MN", "Untergrenze", "Lower limit", "Kleinster zulässiger Wert."),
            pin(3, IN, REAL, "MX", "Obergrenze", "Upper limit", "Größter zulässiger Wert."),
            pin(4, OUTPUT, REAL, "A", "Ausgang", "Output", "E, begrenzt auf den Bereich MN bis MX.")],
           "Begrenzt den Eingang auf den Bereich zwischen Unter- und Obergrenze.", "Clamps the input to [MN, MX].")

    # Time.
    def timer(num, de, en, short, fn, desc_de, desc_en, q_de):
        simple(num, de, en, short, TIMERS, fn,
               [pin(1, IN, BOOL, "E", "Eingang", "Input", "Das zu verzögernde Signal."),
                pin(2, IN, TIME, "PT", "Zeit", "Preset time", "Die eingestellte Zeit, z. B. T#500ms."),
                pin(3, OUTPUT, BOOL, "Q", "Ausgang", "Output", q_de),
                pin(4, OUTPUT, TIME, "ET", "Abgelaufene Zeit", "Elapsed time", "Die seit dem Start vergangene Zeit.")],
               desc_de, desc_en)

    timer(50, "Einschaltverzögerung", "On delay", "TON", "ton",
          "Der Ausgang wird wahr, wenn der Eingang die Zeit PT lang ununterbrochen wahr war.",
          "The output becomes true once the input has been true for PT.",
          "Wahr, nachdem E die Zeit PT lang wahr war.")
    timer(51, "Ausschaltverzögerung", "Off delay", "TOF", "tof",
          "Der Ausgang folgt dem Eingang sofort auf wahr und fällt erst PT nach dem Abschalten ab.",
          "The output follows the input to true and drops PT after the input fell.",
          "Wahr mit E und noch PT lang danach.")
    timer(52, "Impuls", "Pulse", "TP", "tp",
          "Eine steigende Flanke am Eingang erzeugt einen Impuls der festen Länge PT.",
          "A rising edge starts a pulse of length PT.",
          "Wahr für die Dauer PT nach der steigenden Flanke.")
    simple(53, "Ereigniszähler", "Event counter", "COUNT", COUNTERS, "counter",
           [pin(1, IN, BOOL, "E", "Ereignis", "Event", "Jede steigende Flanke zählt eins."),
            pin(2, OUTPUT, UDINT, "N", "Anzahl", "Count", "Die Zahl der bisherigen Ereignisse.")],
           "Zählt die steigenden Flanken des Eingangs; remanent geschaltet überdauert der Zählerstand einen Neustart.",
           "Counts rising edges of the input.", icon_name="counter")
    simple(54, "Vorwärtszähler", "Up counter", "CTU", COUNTERS, "ctu",
           [pin(1, IN, BOOL, "CU", "Zähleingang", "Count up", "Jede steigende Flanke erhöht den Zählerstand."),
            pin(2, IN, BOOL, "R", "Rücksetzen", "Reset", "Setzt den Zählerstand auf 0."),
            pin(3, IN, DINT, "PV", "Vorgabe", "Preset", "Zählerstand, ab dem Q wahr wird."),
            pin(4, OUTPUT, BOOL, "Q", "Erreicht", "Reached", "Wahr, sobald CV den Wert PV erreicht hat."),
            pin(5, OUTPUT, DINT, "CV", "Zählerstand", "Count", "Der aktuelle Zählerstand.")],
           "Zählt steigende Flanken an CU und meldet das Erreichen der Vorgabe PV.",
           "Counts rising edges at CU and reports reaching PV.", icon_name="counter")

    # Control.
    simple(60, "PT1-Glied", "First-order lag", "PT1", CONTROLLERS, "pt1",
           [pin(1, IN, REAL, "E", "Eingang", "Input", "Das zu glättende Signal."),
            pin(2, IN, REAL, "T", "Zeitkonstante", "Time constant", "Zeitkonstante in Sekunden."),
            pin(3, OUTPUT, REAL, "A", "Ausgang", "Output", "Das geglättete Signal.")],
           "Verzögerung erster Ordnung: der Ausgang nähert sich dem Eingang mit der Zeitkonstante T.",
           "First-order lag with time constant T.")
    simple(61, "PI-Regler", "PI controller", "PI", CONTROLLERS, "pi",
           [pin(1, IN, REAL, "W", "Sollwert", "Set point", "Führungsgröße."),
            pin(2, IN, REAL, "X", "Istwert", "Actual value", "Regelgröße."),
            pin(3, IN, REAL, "KP", "Verstärkung", "Gain", "Proportionalverstärkung."),
            pin(4, IN, REAL, "TN", "Nachstellzeit", "Reset time", "Nachstellzeit in Sekunden; 0 schaltet den I-Anteil ab."),
            pin(5, OUTPUT, REAL, "Y", "Stellgröße", "Output", "KP · (e + ∫e dt / TN) mit e = W − X.")],
           "Proportional-Integral-Regler: Y = KP · (e + 1/TN · ∫e dt) mit der Regelabweichung e = W − X.",
           "PI controller on the error W − X.")
    simple(62, "Rampe", "Ramp", "RAMP", GENERATORS, "ramp",
           [pin(1, IN, REAL, "E", "Zielwert", "Target", "Der Wert, dem der Ausgang folgt."),
            pin(2, IN, REAL, "S", "Steigung", "Slope", "Größte Änderung je Sekunde."),
            pin(3, OUTPUT, REAL, "A", "Ausgang", "Output", "Der mit der Steigung S nachgeführte Wert.")],
           "Führt den Ausgang mit begrenzter Steigung an den Zielwert heran.", "Moves the output to the target at slope S.")
    simple(63, "Sinusgenerator", "Sine generator", "SINE", GENERATORS, "sine",
           [pin(1, IN, REAL, "AMP", "Amplitude", "Amplitude", "Scheitelwert des Signals."),
            pin(2, IN, REAL, "F", "Frequenz", "Frequency", "Frequenz in Hz."),
            pin(3, OUTPUT, REAL, "A", "Ausgang", "Output", "AMP · sin(2π · F · t).")],
           "Erzeugt eine Sinusschwingung mit einstellbarer Amplitude und Frequenz.", "Generates a sine wave.")
    return blocks


def magnitude_limiter():
    """Betragsbegrenzer: clamps the input to [-L, L]. Both controllers limit this way, so it is one
    block of its own, and its inside is a level the user can open."""
    c = Code()
    p1 = pin_in(c, 1, 2, 2)
    p2 = pin_in(c, 2, 2, 6)
    neg = c.add("StandardBlock_21", 10, 5, name="Untergrenze", initial={1: "0"})
    lim = c.add("StandardBlock_43", 18, 2, name="Begrenzung")
    out = pin_out(c, 3, 26, 2)
    comment(c, 2, 12, ["Betragsbegrenzer: der Eingang wird auf", "den Bereich -L bis +L begrenzt."], width=20)
    c.wire(p1, 1, lim, 1)
    c.wire(p2, 1, neg, 2)
    c.wire(neg, 3, lim, 2, lane=16)
    c.wire(p2, 1, lim, 3, via=[(9, 7), (9, 10), (17, 10), (17, 5)])
    c.wire(lim, 4, out, 1)
    pins = [pin(1, IN, REAL, "E", "Eingang", "Input", "Der zu begrenzende Wert."),
            pin(2, IN, REAL, "L", "Grenze", "Limit", "Größter zulässiger Betrag."),
            pin(3, OUTPUT, REAL, "A", "Ausgang", "Output", "E, begrenzt auf den Bereich -L bis +L.")]
    return definition(pins, code=c.json(), icon_name="limit",
                      description=("Begrenzt den Eingang symmetrisch auf den Bereich von -L bis +L.",
                                   "Clamps the input to [-L, L]."))


def speed_controller(version):
    """Drehzahlregler: PI on the speed error, torque limited symmetrically. Version 1 smooths the
    actual speed first, which is what the axes use; version 0 stays for older programs."""
    c = Code()
    shift = 8 if version else 0
    p1 = pin_in(c, 1, 2, 2)
    p2 = pin_in(c, 2, 2, 6)
    p3 = pin_in(c, 3, 2, 12)
    actual, actual_pin = p2, 1
    if version:
        f = c.add("StandardBlock_60", 10, 6, name="Istwertglättung", initial={2: "0.05"})
        c.wire(p2, 1, f, 1)
        actual, actual_pin = f, 3
    e = c.add("StandardBlock_21", 10 + shift, 2, name="Regelabweichung")
    pi = c.add("StandardBlock_61", 18 + shift, 2, name="Drehzahl-PI", initial={2: "0", 3: "0.8", 4: "0.5"})
    lim = c.add("StandardBlock_44", 26 + shift, 2, name="Momentbegrenzung")
    out = pin_out(c, 4, 34 + shift, 2)
    comment(c, 2, 18, ["Drehzahlregler: PI auf die Regelabweichung,",
                       "Moment symmetrisch auf ±MMAX begrenzt."], width=22)
    c.wire(p1, 1, e, 1)
    c.wire(actual, actual_pin, e, 2, lane=8 + shift)
    c.wire(e, 3, pi, 1)
    c.wire(pi, 5, lim, 1)
    c.wire(p3, 1, lim, 2, via=[(9, 13), (9, 16), (25 + shift, 16), (25 + shift, 4)])
    c.wire(lim, 3, out, 1)
    pins = [pin(1, IN, REAL, "NSOLL", "Drehzahl Soll", "Speed set point", "Drehzahlsollwert in 1/min."),
            pin(2, IN, REAL, "NIST", "Drehzahl Ist", "Actual speed", "Gemessene Drehzahl in 1/min."),
            pin(3, IN, REAL, "MMAX", "Momentgrenze", "Torque limit", "Größtes zulässiges Moment in Nm."),
            pin(4, OUTPUT, REAL, "M", "Momentsollwert", "Torque set point", "Begrenzter Momentsollwert in Nm.")]
    desc = ("Regelt die Drehzahl mit einem PI-Regler und begrenzt das Moment auf ±MMAX."
            + (" Der Istwert wird vorher mit einem PT1-Glied geglättet." if version else ""),
            "Speed loop: PI controller with symmetric torque limit.")
    return definition(pins, code=c.json(), description=desc, version=version, icon_name="gear")


def position_controller():
    c = Code()
    p1 = pin_in(c, 1, 2, 2)
    p2 = pin_in(c, 2, 2, 6)
    p3 = pin_in(c, 3, 2, 12)
    e = c.add("StandardBlock_21", 10, 2, name="Schleppabstand")
    kv = c.add("StandardBlock_22", 18, 2, name="KV-Faktor", initial={2: "2.5"})
    lim = c.add("StandardBlock_44", 26, 2, name="Drehzahlbegrenzung")
    out = pin_out(c, 4, 34, 2)
    comment(c, 2, 18, ["Lageregler: P-Regler mit KV = 2,5 1/s,", "Ausgang auf ±NMAX begrenzt."], width=20)
    c.wire(p1, 1, e, 1)
    c.wire(p2, 1, e, 2, lane=8)
    c.wire(e, 3, kv, 1)
    c.wire(kv, 3, lim, 1)
    c.wire(p3, 1, lim, 2, via=[(9, 13), (9, 16), (25, 16), (25, 4)])
    c.wire(lim, 3, out, 1)
    pins = [pin(1, IN, REAL, "XSOLL", "Lage Soll", "Position set point", "Lagesollwert in Grad."),
            pin(2, IN, REAL, "XIST", "Lage Ist", "Actual position", "Gemessene Lage in Grad."),
            pin(3, IN, REAL, "NMAX", "Drehzahlgrenze", "Speed limit", "Größte zulässige Drehzahl in 1/min."),
            pin(4, OUTPUT, REAL, "NSOLL", "Drehzahl Soll", "Speed set point", "Begrenzter Drehzahlsollwert.")]
    return definition(pins, code=c.json(), icon_name="gear",
                      description=("Proportionaler Lageregler: Drehzahlsollwert = KV · (Lage Soll − Lage Ist), begrenzt auf ±NMAX.",
                                   "Proportional position loop with speed limit."))


def brake_sequence():
    c = Code()
    p1 = pin_in(c, 1, 2, 2)
    p2 = pin_in(c, 2, 2, 8)
    ton = c.add("StandardBlock_50", 10, 2, name="Vormagnetisierung", initial={2: "T#300ms"})
    stop = c.add("StandardBlock_1", 10, 7, name="Stillstand ohne Freigabe", inverted=(1,))
    rs = c.add("StandardBlock_5", 18, 2, name="Bremse gelüftet")
    tof = c.add("StandardBlock_51", 26, 2, name="Haltezeit", initial={2: "T#500ms"})
    hold = pin_out(c, 4, 34, 2)
    release = pin_out(c, 3, 34, 6)
    comment(c, 2, 12, ["Die Bremse lüftet nach der Vormagnetisierung und fällt erst",
                       "im Stillstand ohne Freigabe ein; das Haltemoment bleibt 0,5 s länger."], width=30)
    c.wire(p1, 1, ton, 1)
    c.wire(p1, 1, stop, 1, lane=8)
    c.wire(p2, 1, stop, 2)
    c.wire(ton, 3, rs, 1)
    c.wire(stop, 3, rs, 2, lane=16)
    c.wire(rs, 3, tof, 1)
    c.wire(rs, 3, release, 1, lane=24)
    c.wire(tof, 3, hold, 1)
    pins = [pin(1, IN, BOOL, "FREI", "Freigabe", "Enable", "Antriebsfreigabe."),
            pin(2, IN, BOOL, "NNULL", "Stillstand", "Standstill", "Wahr, solange die Drehzahl nahe 0 ist."),
            pin(3, OUTPUT, BOOL, "LUEFTEN", "Bremse lüften", "Release brake", "Ansteuerung der Haltebremse."),
            pin(4, OUTPUT, BOOL, "HALT", "Haltemoment", "Holding torque", "Der Antrieb muss Moment halten.")]
    return definition(pins, code=c.json(), icon_name="brake",
                      description=("Steuert die Haltebremse: Lüften nach 300 ms Vormagnetisierung, Einfallen im Stillstand "
                                   "ohne Freigabe, Haltemoment bis 500 ms nach dem Einfallen.",
                                   "Holding brake sequence."))


def system_blocks():
    return [
        block("SystemBlock_1", "Kommentar", "Comment", "TEXT", DISPLAY,
              [definition([], "", ("Freier Text im Plan; wird nicht berechnet.", "Free text; not computed."),
                          btype=1, runtime=4, icon_name="text")]),
        block("SystemBlock_2", "Eingangsanschluss", "Input pin", "PIN_IN", DISPLAY,
              [definition([pin(1, OUTPUT, ANY, "A", "Wert", "Value",
                               "Der Wert am Eingang des umgebenden Bausteins, dessen Nummer die erste Zeile nennt.")],
                          "", ("Führt einen Eingang des umgebenden Bausteins in dessen Code.", "Brings an input of the enclosing block in."),
                          btype=2, runtime=4, icon_name="pinIn")]),
        block("SystemBlock_3", "Ausgangsanschluss", "Output pin", "PIN_OUT", DISPLAY,
              [definition([pin(1, IN, ANY, "E", "Wert", "Value",
                               "Der Wert für den Ausgang des umgebenden Bausteins, dessen Nummer die erste Zeile nennt.")],
                          "", ("Führt ein Ergebnis zum Ausgang des umgebenden Bausteins.", "Takes a result out to the enclosing block."),
                          btype=2, runtime=4, icon_name="pinOut")]),
        block(CONST, "Konstante", "Constant", "CONST", TOOLS,
              [definition([pin(1, OUTPUT, ANY, "K", "Wert", "Value",
                               "Der Anfangswert dieses Ausgangs, im Typ aus dem ersten Parameterfeld.")],
                          "constant", ("Liefert einen festen Wert; der Typ steht im ersten Feld der Parameter.",
                                       "A fixed value of the type named by the first parameter field."),
                          version=1, icon_name="constant")]),
        block("ToolBlock_8000011", "Testsignal Sinus", "Sine test signal", "TSIG", TOOLS,
              [definition([pin(1, IN, REAL, "AMP", "Amplitude", "Amplitude", "Scheitelwert.", initial="1"),
                           pin(2, IN, REAL, "F", "Frequenz", "Frequency", "Frequenz in Hz.", initial="0.5"),
                           pin(3, OUTPUT, REAL, "A", "Signal", "Signal", "Das Testsignal.")],
                          "sine", ("Testsignal für die Inbetriebnahme: Sinus mit voreingestellten 1 und 0,5 Hz.",
                                   "Commissioning test signal."), icon_name="sine")]),
        block(READ, "Parameter lesen", "Read parameter", "P_IN", PARAMS,
              [definition([pin(1, IN, BOOL, "FREI", "Freigabe", "Enable", "Liest nur, solange wahr.", initial="TRUE"),
                           pin(2, OUTPUT, DINT, "W", "Wert", "Value", "Der Wert des Parameters, dessen Koordinate die erste Zeile nennt.")],
                          "parameterRead", ("Liest einen Parameter des Bereichs, z. B. P12.", "Reads a parameter of the area."),
                          btype=3, icon_name="parameterRead")]),
        block(WRITE, "Parameter schreiben", "Write parameter", "P_OUT", PARAMS,
              [definition([pin(1, IN, DINT, "W", "Wert", "Value", "Der zu schreibende Wert.")],
                          "parameterWrite", ("Schreibt einen Parameter des Bereichs, sobald sich der Wert ändert.",
                                             "Writes a parameter of the area when the value changes."),
                          btype=3, icon_name="parameterWrite")]),
    ]


def templates():
    c = Code()
    w = pin_in(c, 1, 2, 2)
    x = pin_in(c, 2, 2, 6)
    pi = c.add("StandardBlock_61", 10, 2, name="Regler", initial={3: "1.0", 4: "1.0"})
    y = pin_out(c, 3, 18, 2)
    c.wire(w, 1, pi, 1)
    c.wire(x, 1, pi, 2, lane=8)
    c.wire(pi, 5, y, 1)
    loop = block("TemplateBlock_1", "Vorlage Regelkreis", "Control loop template", "TPL_PI", TEMPLATES,
                 [definition([pin(1, IN, REAL, "W", "Sollwert", "Set point", "Führungsgröße."),
                              pin(2, IN, REAL, "X", "Istwert", "Actual value", "Regelgröße."),
                              pin(3, OUTPUT, REAL, "Y", "Stellgröße", "Output", "Ausgang des PI-Reglers.")],
                             code=c.json(), icon_name="template",
                             description=("Ausgangspunkt für einen eigenen Regelkreis mit PI-Regler.",
                                          "Starting point for a control loop."))])
    c = Code()
    a = pin_in(c, 1, 2, 2)
    b = pin_in(c, 2, 2, 6)
    g = c.add("StandardBlock_1", 10, 2, name="Verriegelung")
    d = c.add("StandardBlock_50", 18, 2, name="Entprellung", initial={2: "T#100ms"})
    q = pin_out(c, 3, 26, 2)
    c.wire(a, 1, g, 1)
    c.wire(b, 1, g, 2, lane=8)
    c.wire(g, 3, d, 1)
    c.wire(d, 3, q, 1)
    chain = block("TemplateBlock_2", "Vorlage Freigabekette", "Enable chain template", "TPL_EN", TEMPLATES,
                  [definition([pin(1, IN, BOOL, "E1", "Bedingung 1", "Condition 1", "Erste Freigabebedingung."),
                               pin(2, IN, BOOL, "E2", "Bedingung 2", "Condition 2", "Zweite Freigabebedingung."),
                               pin(3, OUTPUT, BOOL, "FREI", "Freigabe", "Enable", "Beide Bedingungen 100 ms stabil.")],
                              code=c.json(), icon_name="template",
                              description=("Ausgangspunkt für eine entprellte Freigabe aus zwei Bedingungen.",
                                           "Starting point for a debounced enable."))])
    return [loop, chain]


def standard_library():
    # System blocks first: the composite blocks below draw pin blocks and need their shapes.
    blocks = system_blocks() + standard_blocks()
    blocks.append(block("StandardBlock_44", "Betragsbegrenzer", "Magnitude limiter", "LIMS", SELECT, [magnitude_limiter()]))
    blocks.append(block("StandardBlock_70", "Drehzahlregler", "Speed controller", "NREG", LOOPS,
                        [speed_controller(0), speed_controller(1)]))
    blocks.append(block("StandardBlock_71", "Lageregler", "Position controller", "LREG", LOOPS, [position_controller()]))
    blocks.append(block("StandardBlock_72", "Bremsenablauf", "Brake sequence", "BRAKE", SEQUENCES, [brake_sequence()]))
    blocks.extend(templates())
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "standard", "kind": 0,
            "name": text("Standardbibliothek", "Standard library"), "blocks": blocks}


# ---------------------------------------------------------------------------------------------
# The plant's own blocks and the internal ones.

def user_library():
    c = Code()
    frei = pin_in(c, 1, 2, 2)
    rm = pin_in(c, 2, 2, 8)
    missing = c.add("StandardBlock_1", 10, 7, name="Lüften ohne Rückmeldung", inverted=(2,))
    t = c.add("StandardBlock_50", 18, 7, name="Überwachungszeit", initial={2: "T#1s"})
    auf = pin_out(c, 3, 26, 2)
    err = pin_out(c, 4, 26, 7)
    c.wire(frei, 1, auf, 1)
    c.wire(frei, 1, missing, 1, lane=8)
    c.wire(rm, 1, missing, 2)
    c.wire(missing, 3, t, 1)
    c.wire(t, 3, err, 1)
    brake = block("UserBlock_BRAKE01", "Bremsenansteuerung mit Überwachung", "Brake control with monitoring", "BRK_MON", PLANT,
                  [definition([pin(1, IN, BOOL, "FREI", "Lüftbefehl", "Release command", "Bremse soll lüften."),
                               pin(2, IN, BOOL, "RM", "Rückmeldung gelüftet", "Released feedback", "Endschalter der Bremse."),
                               pin(3, OUTPUT, BOOL, "AUF", "Bremse lüften", "Release", "Ansteuerung des Bremsschützes."),
                               pin(4, OUTPUT, BOOL, "FEHLER", "Lüftfehler", "Release fault", "Keine Rückmeldung binnen 1 s.")],
                              code=c.json(), icon_name="brake",
                              description=("Steuert die Bremse und meldet einen Fehler, wenn die Rückmeldung ausbleibt.",
                                           "Brake control with feedback monitoring."))], user=True)
    c = Code()
    temp = pin_in(c, 1, 2, 2)
    hot = c.add("StandardBlock_30", 10, 2, name="Zu warm", initial={2: "35.0"})
    run = c.add("StandardBlock_51", 18, 2, name="Nachlauf", initial={2: "T#30s"})
    on = pin_out(c, 2, 26, 2)
    c.wire(temp, 1, hot, 1)
    c.wire(hot, 3, run, 1)
    c.wire(run, 3, on, 1)
    fan = block("UserBlock_FAN01", "Schaltschranklüfter", "Cabinet fan", "FAN", PLANT,
                [definition([pin(1, IN, REAL, "TEMP", "Schranktemperatur", "Cabinet temperature", "Temperatur in °C."),
                             pin(2, OUTPUT, BOOL, "EIN", "Lüfter ein", "Fan on", "Lüfter einschalten.")],
                            code=c.json(), icon_name="gear",
                            description=("Schaltet den Lüfter über 35 °C ein und lässt ihn 30 s nachlaufen.",
                                         "Switches the fan above 35 °C with 30 s run-on."))], user=True)
    c = Code()
    raw = pin_in(c, 1, 2, 2)
    conv = c.add("StandardBlock_26", 10, 2)
    scale = c.add("StandardBlock_22", 18, 2, name="Skalierung", initial={2: "0.01"})
    offset = c.add("StandardBlock_20", 26, 2, name="Offset", initial={2: "0"})
    val = pin_out(c, 2, 34, 2)
    c.wire(raw, 1, conv, 1)
    c.wire(conv, 2, scale, 1)
    c.wire(scale, 3, offset, 1)
    c.wire(offset, 3, val, 1)
    scaling = block("UserBlock_SCALE01", "Analogwert skalieren", "Scale analog value", "SCALE", PLANT,
                    [definition([pin(1, IN, DINT, "ROH", "Rohwert", "Raw value", "Wert der Analogkarte."),
                                 pin(2, OUTPUT, REAL, "WERT", "Messwert", "Value", "Rohwert · 0,01.")],
                                code=c.json(), icon_name="gear",
                                description=("Rechnet einen Rohwert der Analogkarte in einen Messwert um.",
                                             "Converts a raw analog value."))], user=True)
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "anlage", "kind": 256,
            "name": text("Anlagenbausteine", "Plant blocks"), "blocks": [brake, fan, scaling]}


def internal_library():
    counter = block("UserBlock_DIAG01", "Diagnosezähler", "Diagnostic counter", "DIAG", INTERNAL,
                    [definition([pin(1, IN, BOOL, "E", "Ereignis", "Event", "Jede steigende Flanke zählt."),
                                 pin(2, OUTPUT, UDINT, "N", "Anzahl", "Count", "Zahl der Ereignisse seit dem Anlauf.")],
                                "counter", ("Zählt Ereignisse für die Diagnose.", "Counts events for diagnostics."),
                                icon_name="counter")], user=True)
    c = Code()
    f = pin_in(c, 1, 2, 2)
    wave = c.add("StandardBlock_63", 10, 2, name="Takt", initial={1: "1"})
    high = c.add("StandardBlock_30", 18, 2, name="Halbwelle", initial={2: "0"})
    out = pin_out(c, 2, 26, 2)
    c.wire(f, 1, wave, 2, lane=8)
    c.wire(wave, 3, high, 1)
    c.wire(high, 3, out, 1)
    heartbeat = block("UserBlock_LIFE01", "Lebenszeichen", "Heartbeat", "LIFE", INTERNAL,
                      [definition([pin(1, IN, REAL, "F", "Frequenz", "Frequency", "Takt in Hz.", initial="1"),
                                   pin(2, OUTPUT, BOOL, "TAKT", "Lebenszeichen", "Heartbeat", "Wechselt mit der Frequenz F.")],
                                  code=c.json(), icon_name="gear",
                                  description=("Erzeugt ein Lebenszeichen für die übergeordnete Steuerung.",
                                               "Heartbeat for the supervisory controller."))], user=True)
    smooth = block("UserBlock_FILT01", "Istwertfilter", "Actual value filter", "FILT", INTERNAL,
                   [definition([pin(1, IN, REAL, "E", "Rohwert", "Raw value", "Ungefilterter Messwert."),
                                pin(2, IN, REAL, "T", "Zeitkonstante", "Time constant", "In Sekunden.", initial="0.02"),
                                pin(3, OUTPUT, REAL, "A", "Gefiltert", "Filtered", "Geglätteter Messwert.")],
                               "pt1", ("Glättet Messwerte mit einem PT1-Glied.", "Smooths measurements."),
                               icon_name="pt1")], user=True)
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "intern", "kind": 257,
            "name": text("Interne Bausteine", "Internal blocks"), "blocks": [counter, heartbeat, smooth]}


# ---------------------------------------------------------------------------------------------
# Areas.

AXIS_BLOCK = "UserBlock_AXIS"


def axis_control(axis, speed_version):
    """The axis control composite, local to the axis area's program: position loop, enable of
    the speed set point, speed loop, torque enable and brake sequence."""
    c = Code()
    ins = [pin_in(c, n, 2, 2 + 3 * (n - 1)) for n in range(1, 7)]  # outputs at rows 3, 6, 9, 12, 15, 18
    lreg = c.add("StandardBlock_71", 10, 5, name="Lageregler")
    absn = c.add("StandardBlock_25", 10, 11, name="Drehzahlbetrag")
    nsel = c.add("StandardBlock_40", 18, 2, name="Drehzahlsollwert freigeben", initial={2: "0"})
    still = c.add("StandardBlock_31", 18, 11, name="Stillstand", initial={2: "5.0"})
    nreg = c.add("StandardBlock_70", 26, 2, version=speed_version, name="Drehzahlregler")
    brake = c.add("StandardBlock_72", 26, 11, name="Bremsenablauf")
    msel = c.add("StandardBlock_40", 34, 2, name="Moment freigeben", initial={2: "0"})
    out_m = pin_out(c, 7, 42, 2)
    out_b = pin_out(c, 8, 42, 11)
    out_h = pin_out(c, 9, 42, 14)
    comment(c, 2, 21, ["Achse %d: Lageregler → Drehzahlregler → Momentfreigabe." % axis,
                       "Ohne Freigabe ist der Drehzahlsollwert 0; Moment nur mit Haltemoment."], width=30)
    c.wire(ins[1], 1, lreg, 1)
    c.wire(ins[2], 1, lreg, 2, lane=8)
    c.wire(ins[4], 1, lreg, 3, lane=7)
    c.wire(ins[3], 1, absn, 1)
    c.wire(ins[0], 1, nsel, 1)
    c.wire(lreg, 4, nsel, 3, lane=16)
    c.wire(absn, 2, still, 1)
    c.wire(nsel, 4, nreg, 1)
    c.wire(ins[3], 1, nreg, 2, via=[(8, 12), (8, 10), (24, 10), (24, 4)])
    c.wire(ins[5], 1, nreg, 3, lane=25)
    c.wire(ins[0], 1, brake, 1, via=[(9, 3), (9, 16), (24, 16), (24, 12)])
    c.wire(still, 3, brake, 2, lane=23)
    c.wire(brake, 4, msel, 1, lane=33)
    c.wire(nreg, 4, msel, 3, lane=31)
    c.wire(msel, 4, out_m, 1)
    c.wire(brake, 3, out_b, 1)
    c.wire(brake, 4, out_h, 1, lane=36)
    pins = [pin(1, IN, BOOL, "FREI", "Freigabe", "Enable", "Antriebsfreigabe."),
            pin(2, IN, REAL, "XSOLL", "Lage Soll", "Position set point", "Lagesollwert in Grad."),
            pin(3, IN, REAL, "XIST", "Lage Ist", "Actual position", "Gemessene Lage in Grad."),
            pin(4, IN, REAL, "NIST", "Drehzahl Ist", "Actual speed", "Gemessene Drehzahl in 1/min."),
            pin(5, IN, REAL, "NMAX", "Drehzahlgrenze", "Speed limit", "In 1/min."),
            pin(6, IN, REAL, "MMAX", "Momentgrenze", "Torque limit", "In Nm."),
            pin(7, OUTPUT, REAL, "M", "Momentsollwert", "Torque set point", "An den Umrichter."),
            pin(8, OUTPUT, BOOL, "BREMSE", "Bremse lüften", "Release brake", "An das Bremsschütz."),
            pin(9, OUTPUT, BOOL, "HALT", "Haltemoment", "Holding torque", "Der Antrieb hält Moment.")]
    d = definition(pins, code=c.json(), icon_name="gear", width=6,
                   description=("Regelung der Achse %d mit Lage- und Drehzahlregler und Bremsenablauf." % axis,
                                "Axis %d control." % axis))
    b = block(AXIS_BLOCK, "Achsregelung", "Axis control", "ACHSE", "", [d], user=True)
    return b, {"lreg": lreg, "nsel": nsel}


def area(first, second, index, name, code, back=False, labels=(), parameters=(), local_blocks=()):
    root = definition([], code=code.json(), local_blocks=local_blocks)
    root.pop("version")
    return {"first": first, "second": second, "index": index, "title": "", "displayName": name,
            "backDocumentation": back, "ownProgram": True, "root": root,
            "signalLabels": list(labels), "parameters": list(parameters)}


def label(node, lid, instance, pin_id, name, offset=(1, -1)):
    return {"node": node, "id": lid, "instance": instance, "pin": pin_id, "name": name, "offset": list(offset)}


def parameter(name, default):
    return {"name": name, "elements": [0], "defaults": {"0": default}}


def axis_area(axis, speed_version, target, amplitude, max_speed, max_torque):
    local, inner = axis_control(axis, speed_version)
    # The axis block is 6 wide, so the columns right of it start two grid units later.
    c = Code(columns={2: 2, 10: 18, 18: 34, 26: 50, 34: 66, 44: 84, 52: 100}, grid_widths={34: 6})
    p_enable = c.add(READ, 2, 2, name="Freigabe lesen", lines=["P10"])
    enable = c.add("StandardBlock_35", 10, 2, name="Freigabe", initial={2: "0"})
    p_speed = c.add(READ, 2, 6, name="Maximaldrehzahl lesen", lines=["P11"])
    speed = c.add("StandardBlock_26", 10, 6, name="Maximaldrehzahl")
    goal = constant(c, 2, 10, target, name="Zielposition")
    ramp = c.add("StandardBlock_62", 10, 10, name="Lagesollwert", initial={2: "45"})
    wobble = c.add("StandardBlock_63", 2, 18, name="Geberrauschen", initial={1: amplitude, 2: "0.25"})
    follow = c.add("StandardBlock_60", 18, 14, name="Lageistwert Modell", initial={2: "0.4"})
    xact = c.add("StandardBlock_20", 26, 14, name="Lage Ist")
    torque = constant(c, 26, 9, max_torque, name="Momentgrenze")
    axis_block = c.add(AXIS_BLOCK, 34, 2, name="Achse %d" % axis)
    gain = c.add("StandardBlock_22", 44, 2, name="Streckenverstärkung", initial={2: "2.5"})
    plant = c.add("StandardBlock_60", 52, 2, name="Drehzahl Modell", initial={2: "0.3"})
    cycles = c.add("StandardBlock_54", 44, 8, name="Bremsspiele", initial={2: "FALSE", 3: "100000"})
    p_cycles = c.add(WRITE, 52, 9, name="Bremsspiele schreiben", lines=["P20"])
    comment(c, 2, 24, ["Achse %d: Lageregelung mit unterlagerter Drehzahlregelung." % axis,
                       "Lage- und Drehzahlistwert kommen hier aus einem Streckenmodell."], width=28)
    c.wire(p_enable, 2, enable, 1)
    c.wire(p_speed, 2, speed, 1)
    c.wire(goal, 1, ramp, 1)
    c.wire(ramp, 3, follow, 1, lane=16)
    c.wire(follow, 3, xact, 1, lane=24)
    c.wire(wobble, 3, xact, 2, lane=23)
    c.wire(enable, 3, axis_block, 1)
    c.wire(ramp, 3, axis_block, 2, lane=16)
    c.wire(xact, 3, axis_block, 3, lane=31)
    # Round the far side of the signal label on the way back.
    c.wire(plant, 3, axis_block, 4, via=[(60, 3), (60, 22), (33, 22), (33, 6)])
    c.wire(speed, 2, axis_block, 5)
    c.wire(torque, 1, axis_block, 6, lane=32)
    c.wire(axis_block, 7, gain, 1)
    c.wire(gain, 3, plant, 1)
    c.wire(axis_block, 8, cycles, 1, lane=42)
    c.wire(cycles, 5, p_cycles, 1, lane=49)
    node = "A%d:0" % axis
    inner_node = "%s.%d" % (node, axis_block)
    # The set point's wires turn right after its stub, so its label sits above the stub instead.
    labels = [label(node, 1, enable, 3, "Freigabe"), label(node, 2, ramp, 3, "Lage_Soll", offset=(-2.5, -1.5)),
              label(node, 3, axis_block, 7, "Moment_Soll"), label(node, 4, plant, 3, "Drehzahl_Ist"),
              label(node, 5, cycles, 4, "Wartung_Bremse"),
              label(inner_node, 1, inner["nsel"], 4, "Drehzahl_Soll")]
    parameters = [parameter("%s.%d#P10" % (node, p_enable), "1"),
                  parameter("%s.%d#P11" % (node, p_speed), max_speed),
                  parameter("%s.%d#P20" % (node, p_cycles), "0")]
    return area(axis, 0, axis, "Achse %d" % axis, c, labels=labels, parameters=parameters, local_blocks=[local])


def global_area():
    c = Code()
    safety = c.add("StandardBlock_1", 2, 2, version=1, name="Sicherheitskette",
                   initial={1: "TRUE", 2: "TRUE", 3: "TRUE", 4: "TRUE"})
    start = c.add("StandardBlock_7", 10, 2, name="Anlage Ein")
    starts = c.add("UserBlock_DIAG01", 18, 2, name="Einschaltzähler")
    temp = constant(c, 2, 9, "38.5", name="Schranktemperatur")
    fan = c.add("UserBlock_FAN01", 10, 9, name="Schaltschranklüfter")
    life = c.add("UserBlock_LIFE01", 2, 13, name="Lebenszeichen")
    comment(c, 2, 18, ["Anlagenweite Logik: Sicherheitskette (Not-Halt, Schutztür, Druck, Hydraulik),",
                       "Einschaltzähler, Schaltschranklüfter und Lebenszeichen."], width=32)
    c.wire(safety, 5, start, 1)
    c.wire(start, 2, starts, 1)
    c.wire(temp, 1, fan, 1)
    labels = [label("A0:0", 1, safety, 5, "Anlage_bereit"), label("A0:0", 2, life, 2, "Lebenszeichen"),
              label("A0:0", 3, fan, 2, "Luefter_Ein")]
    return area(0, 0, 0, "Global", c, labels=labels)


def read_back_area():
    c = Code()
    wave = c.add("ToolBlock_8000011", 2, 2, name="Prüfsignal")
    size = c.add("StandardBlock_25", 10, 2)
    over = c.add("StandardBlock_32", 18, 2, name="Schwelle", initial={2: "0.7"})
    pulse = c.add("StandardBlock_52", 26, 2, name="Meldeimpuls", initial={2: "T#2s"})
    comment(c, 2, 8, ["Aus der Steuerung rückgelesen: Prüfsignal mit Schwellwertmeldung."], width=24)
    c.wire(wave, 3, size, 1)
    c.wire(size, 2, over, 1)
    c.wire(over, 3, pulse, 1)
    return area(3, 0, 3, "Achse 3 (rückgelesen)", c, back=True)


def fallback_area():
    c = Code()
    k = constant(c, 2, 2, "12.5", name="Sollwert")
    unknown = c.add("StandardBlock_9999", 10, 2, name="Sondermodul")
    over = c.add("StandardBlock_30", 18, 2, name="Grenzwert", initial={2: "10"})
    comment(c, 2, 7, ["Der Baustein StandardBlock_9999 stammt aus einer Bibliothek, die hier fehlt;",
                      "ein Ersatzbaustein hält seine Anschlüsse, bis sie wieder da ist."], width=32)
    c.wire(k, 1, unknown, 1)
    c.wire(unknown, 2, over, 1)
    return area(4, 0, 4, "Achse 4 (Ersatzbaustein)", c)


TEST_BLOCK = "UserBlock_PRUEF"


def test_step():
    """A test step of the commissioning area, local to it, whose threshold is still missing."""
    c = Code()
    value = pin_in(c, 1, 2, 2)
    over = c.add("StandardBlock_30", 10, 2, name="Schwelle")
    out = pin_out(c, 2, 18, 2)
    comment(c, 2, 7, ["Die Schwelle fehlt noch: ihr zweiter Eingang ist offen."], width=16)
    c.wire(value, 1, over, 1)
    c.wire(over, 3, out, 1)
    pins = [pin(1, IN, REAL, "X", "Messwert", "Measured value", "Der zu prüfende Wert."),
            pin(2, OUTPUT, BOOL, "UEBER", "Überschritten", "Exceeded", "Der Messwert liegt über der Schwelle.")]
    d = definition(pins, code=c.json(), icon_name="gear",
                   description=("Prüft einen Messwert gegen eine Schwelle.", "Tests a value against a threshold."))
    return block(TEST_BLOCK, "Prüfschritt", "Test step", "PRUEF", "", [d], user=True)


def commissioning_area():
    """An axis being commissioned, with the problems the checks are there for: an open input, a
    block in no run-time order, and an open input inside a local block."""
    c = Code()
    k = constant(c, 2, 2, "12.5", name="Messwert")
    step = c.add(TEST_BLOCK, 10, 2, name="Prüfschritt 1")
    limit = c.add("StandardBlock_30", 18, 2, name="Grenzwert")
    gain = c.add("StandardBlock_22", 10, 8, name="Verstärkung", initial={1: "1.0", 2: "2.5"}, runtime=False)
    comment(c, 2, 13, ["In Inbetriebnahme: der Grenzwert wartet auf seinen zweiten Eingang,",
                       "die Verstärkung steht noch in keiner Laufzeitreihenfolge."], width=30)
    c.wire(k, 1, step, 1)
    c.wire(k, 1, limit, 1, lane=8)
    return area(5, 0, 5, "Achse 5 (Inbetriebnahme)", c, local_blocks=[test_step()])


GROUPS = {
    1: ("Standardbausteine", "Standard blocks"), 10: ("Logik", "Logic"), 100: ("Gatter", "Gates"),
    101: ("Speicher und Flanken", "Memory and edges"), 11: ("Arithmetik", "Arithmetic"),
    110: ("Grundrechenarten", "Basic arithmetic"), 111: ("Vergleich", "Comparison"),
    112: ("Auswahl und Begrenzung", "Selection and limits"), 12: ("Zeit", "Time"), 120: ("Zeitglieder", "Timers"),
    121: ("Zähler", "Counters"), 13: ("Regelung", "Control"), 130: ("Regler und Filter", "Controllers and filters"),
    131: ("Signalquellen", "Signal sources"), 2: ("Antrieb", "Drive"), 20: ("Regelkreise", "Control loops"),
    200: ("Lage und Drehzahl", "Position and speed"), 21: ("Abläufe", "Sequences"), 210: ("Bremse", "Brake"),
    3: ("System", "System"), 30: ("Werkzeuge", "Tools"), 300: ("Konstanten und Testsignale", "Constants and test signals"),
    31: ("Parameter", "Parameters"), 310: ("Zugriff", "Access"), 32: ("Darstellung", "Display"),
    320: ("Text und Anschlüsse", "Text and pins"), 33: ("Vorlagen", "Templates"), 330: ("Vorlagen", "Templates"),
    4: ("Anlage", "Plant"), 40: ("Peripherie", "Periphery"), 400: ("Bremse, Lüfter, Analogwerte", "Brake, fan, analog values"),
    5: ("Intern", "Internal"), 50: ("Diagnose", "Diagnostics"), 500: ("Zähler und Filter", "Counters and filters"),
}


def project():
    areas = [global_area(),
             axis_area(1, 1, "90.0", "0.5", "3000", "40.0"),
             axis_area(2, 0, "180.0", "0.8", "2400", "25.0"),
             read_back_area(),
             fallback_area(),
             commissioning_area()]
    groups = [{"number": n, "name": text(*GROUPS[n])} for n in sorted(GROUPS)]
    return {"format": "zkblockproject", "formatVersion": 1, "name": "Beispielanlage",
            "datatypes": [], "groups": groups,
            "libraries": [{"file": "standard.zklib"}, {"file": "anlage.zklib"}, {"file": "intern.zklib"}],
            "areas": areas}


def write(name, data):
    with open(os.path.join(OUT, name), "w", encoding="utf-8") as f:
        json.dump(data, f, ensure_ascii=False, indent=4)
        f.write("\n")


if __name__ == "__main__":
    os.makedirs(OUT, exist_ok=True)
    os.makedirs(ICONS, exist_ok=True)
    files = {"standard.zklib": standard_library(), "anlage.zklib": user_library(),
             "intern.zklib": internal_library(), "project.zkproj": project()}
    for stale in os.listdir(OUT):
        if stale not in files:
            os.remove(os.path.join(OUT, stale))
    for name, data in files.items():
        write(name, data)
    for name in GLYPHS:
        icon(name)
    with open(os.path.join(HERE, "samples.qrc"), "w", encoding="utf-8") as f:
        f.write("<RCC>\n  <qresource prefix=\"/samples\">\n")
        for name in ["project.zkproj"] + sorted(n for n in files if n != "project.zkproj"):
            f.write("    <file>sample/%s</file>\n" % name)
        f.write("  </qresource>\n</RCC>\n")
