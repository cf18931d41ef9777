#!/usr/bin/env python3
"""Writes the sample project (project.zkproj and its library files) into samples/sample.

The files are committed; run this after changing it:  python3 samples/generate_sample.py
"""
import json, os

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "sample")
BOOL, SINT, INT, DINT, USINT, UINT, UDINT, REAL, LREAL, TIME, ANY = range(1, 12)


def text(de, en=None):
    t = {"de": de}
    if en:
        t["en"] = en
    return t


def pin(pid, function, datatype, short, de, en=None, desc=None):
    return {"id": pid, "function": function, "datatype": datatype, "shortName": short,
            "name": text(de, en), "description": text(desc) if desc else {}, "invertible": True, "initial": ""}


def definition(pins, function="", description=None, code=None, version=0, runtime=0, btype=0,
               access_write=0, step_in=True, icon=""):
    inputs = [p["id"] for p in pins if p["function"] == 1]
    outputs = [p["id"] for p in pins if p["function"] == 2]
    d = {"version": version, "type": btype, "function": function,
         "description": text(*description) if description else {},
         "accessWrite": access_write, "accessRead": 0, "stepIn": step_in, "runtime": runtime,
         "parameterBlock": False, "pins": pins,
         "symbol": {"inputs": inputs, "outputs": outputs,
                    "defaultSize": [4, max(len(inputs), len(outputs), 1) + 1], "size": None, "image": ""},
         "icon": icon, "parameters": [], "localBlocks": []}
    if code is not None:
        d["code"] = code
    return d


def block(identifier, de, en, short, group, definitions, user=False, version_visible=False):
    return {"identifier": identifier, "name": text(de, en), "shortName": short, "group": group,
            "user": user, "fallback": False, "versionVisible": version_visible, "definitions": definitions}


class Code:
    def __init__(self):
        self.instances, self.connections, self.next = [], [], 1
        self.rt = 0

    def add(self, ident, x, y, version=0, name="", params="", lines=None, pins=None, runtime=True):
        iid = self.next
        self.next += 1
        if runtime:
            self.rt += 1
        self.instances.append({"id": iid, "block": ident, "version": version, "name": name,
                               "position": [x, y], "realtime": self.rt if runtime else 0, "background": 0,
                               "parameters": params, "lines": lines or [], "note": "", "error": 0,
                               "size": None, "pins": pins or []})
        return iid

    def wire(self, a, pa, b, pb, nodes=()):
        self.connections.append({"source": [a, pa], "target": [b, pb], "nodes": [list(n) for n in nodes]})

    def json(self):
        return {"instances": self.instances, "connections": self.connections}


def standard_library():
    blocks = []
    def logic(num, de, en, short, fn, n_in=2, desc=None):
        pins = [pin(i + 1, 1, BOOL, "E%d" % (i + 1), "Eingang %d" % (i + 1), "Input %d" % (i + 1)) for i in range(n_in)]
        pins.append(pin(n_in + 1, 2, BOOL, "A", "Ausgang", "Output"))
        blocks.append(block("StandardBlock_%d" % num, de, en, short, "1;10;100", [definition(pins, fn, desc)]))
    logic(1, "UND", "AND", "AND", "and", desc=("Der Ausgang ist wahr, wenn alle Eingänge wahr sind.",))
    logic(2, "ODER", "OR", "OR", "or", desc=("Der Ausgang ist wahr, wenn ein Eingang wahr ist.",))
    logic(3, "Exklusiv-ODER", "XOR", "XOR", "xor", desc=("Der Ausgang ist wahr, wenn genau ein Eingang wahr ist.",))
    blocks.append(block("StandardBlock_4", "NICHT", "NOT", "NOT", "1;10;100",
                        [definition([pin(1, 1, BOOL, "E", "Eingang", "Input"), pin(2, 2, BOOL, "A", "Ausgang", "Output")],
                                    "not", ("Der Ausgang ist die Negation des Eingangs.",))]))
    blocks.append(block("StandardBlock_5", "RS-Kippglied", "RS flip-flop", "RS", "1;10;101",
                        [definition([pin(1, 1, BOOL, "S", "Setzen", "Set"), pin(2, 1, BOOL, "R1", "Rücksetzen (dominant)", "Reset"),
                                     pin(3, 2, BOOL, "Q", "Ausgang", "Output")], "rs",
                                    ("Speichert einen Zustand; Rücksetzen hat Vorrang.",))]))
    blocks.append(block("StandardBlock_6", "Flanke steigend", "Rising edge", "R_TRIG", "1;10;101",
                        [definition([pin(1, 1, BOOL, "E", "Eingang", "Input"), pin(2, 2, BOOL, "Q", "Impuls", "Pulse")],
                                    "rising", ("Ein Zyklus lang wahr nach einem Wechsel von falsch auf wahr.",))]))
    def arith(num, de, en, short, fn, t=REAL):
        pins = [pin(1, 1, t, "E1", "Eingang 1", "Input 1"), pin(2, 1, t, "E2", "Eingang 2", "Input 2"),
                pin(3, 2, t, "A", "Ergebnis", "Result")]
        blocks.append(block("StandardBlock_%d" % num, de, en, short, "1;11;110", [definition(pins, fn)]))
    arith(20, "Addition", "Addition", "ADD", "add")
    arith(21, "Subtraktion", "Subtraction", "SUB", "sub")
    arith(22, "Multiplikation", "Multiplication", "MUL", "mul")
    arith(23, "Division", "Division", "DIV", "div")
    blocks.append(block("StandardBlock_30", "Vergleich größer", "Greater than", "GT", "1;11;111",
                        [definition([pin(1, 1, REAL, "E1", "Eingang 1"), pin(2, 1, REAL, "E2", "Eingang 2"),
                                     pin(3, 2, BOOL, "A", "E1 > E2")], "gt")]))
    blocks.append(block("StandardBlock_31", "Begrenzer", "Limiter", "LIMIT", "1;11;111",
                        [definition([pin(1, 1, REAL, "E", "Eingang"), pin(2, 1, REAL, "MN", "Minimum"),
                                     pin(3, 1, REAL, "MX", "Maximum"), pin(4, 2, REAL, "A", "Ausgang")], "limit")]))
    blocks.append(block("StandardBlock_40", "Einschaltverzögerung", "On delay", "TON", "1;12;120",
                        [definition([pin(1, 1, BOOL, "E", "Eingang"), pin(2, 1, TIME, "PT", "Verzögerung"),
                                     pin(3, 2, BOOL, "Q", "Ausgang"), pin(4, 2, TIME, "ET", "Abgelaufene Zeit")], "ton")]))
    blocks.append(block("StandardBlock_50", "PT1-Glied", "PT1 filter", "PT1", "1;13;130",
                        [definition([pin(1, 1, REAL, "E", "Eingang"), pin(2, 1, REAL, "T", "Zeitkonstante"),
                                     pin(3, 2, REAL, "A", "Ausgang")], "pt1")]))
    blocks.append(block("StandardBlock_51", "PI-Regler", "PI controller", "PI", "1;13;130",
                        [definition([pin(1, 1, REAL, "W", "Sollwert"), pin(2, 1, REAL, "X", "Istwert"),
                                     pin(3, 1, REAL, "KP", "Verstärkung"), pin(4, 1, REAL, "TN", "Nachstellzeit"),
                                     pin(5, 2, REAL, "Y", "Stellgröße")], "pi")]))
    blocks.append(block("StandardBlock_52", "Rampe", "Ramp generator", "RAMP", "1;13;131",
                        [definition([pin(1, 1, REAL, "E", "Zielwert"), pin(2, 1, REAL, "S", "Steigung je Sekunde"),
                                     pin(3, 2, REAL, "A", "Ausgang")], "ramp")]))
    # A block made of blocks: a speed controller.
    c = Code()
    sub = c.add("StandardBlock_21", 8, 2)
    pi = c.add("StandardBlock_51", 16, 2)
    lim = c.add("StandardBlock_31", 24, 2)
    c.wire(sub, 3, pi, 1, [(12, 3), (14, 3), (16, 3)])
    c.wire(pi, 5, lim, 1, [(20, 3), (22, 3), (24, 3)])
    blocks.append(block("StandardBlock_60", "Drehzahlregler", "Speed controller", "NREG", "2;20;200",
                        [definition([pin(1, 1, REAL, "NSOLL", "Drehzahl Soll"), pin(2, 1, REAL, "NIST", "Drehzahl Ist"),
                                     pin(3, 2, REAL, "M", "Momentsollwert")], code=c.json(),
                                    description=("Regelt die Drehzahl mit einem PI-Regler und begrenzt das Moment.",))]))
    blocks.append(block("ToolBlock_8000008", "Konstante", "Constant", "CONST", "3;30;300",
                        [definition([pin(1, 2, ANY, "K", "Wert", "Value")], "constant", version=1)]))
    blocks.append(block("MagicBlock_300005", "Parameter lesen", "Read parameter", "PREAD", "3;31;310",
                        [definition([pin(1, 2, DINT, "W", "Wert")], "parameterRead", btype=3)]))
    blocks.append(block("MagicBlock_300006", "Parameter schreiben", "Write parameter", "PWRITE", "3;31;310",
                        [definition([pin(1, 1, DINT, "W", "Wert")], "parameterWrite", btype=3)]))
    blocks.append(block("SystemBlock_1", "Kommentar", "Comment", "TEXT", "3;32;320",
                        [definition([], "text", btype=1, runtime=4)]))
    blocks.append(block("SystemBlock_2", "Anschluss", "Pin", "PIN", "3;32;320",
                        [definition([pin(1, 1, ANY, "E", "Eingang")], "pin", btype=2, runtime=4)]))
    blocks.append(block("TemplateBlock_1", "Vorlage Regler", "Controller template", "TPL", "3;33;330",
                        [definition([pin(1, 1, REAL, "E", "Eingang"), pin(2, 2, REAL, "A", "Ausgang")], code=Code().json())]))
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "1", "kind": 0,
            "name": text("Standardbibliothek", "Standard library"), "blocks": blocks}


def user_library():
    c = Code()
    a = c.add("StandardBlock_6", 6, 2)
    b = c.add("StandardBlock_40", 14, 2)
    c.wire(a, 2, b, 1)
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "user-1", "kind": 256,
            "name": text("Anlagenbausteine", "Plant blocks"),
            "blocks": [block("UserBlock_BRAKE01", "Bremsenansteuerung", "Brake control", "BRAKE", "",
                             [definition([pin(1, 1, BOOL, "FREI", "Freigabe"), pin(2, 2, BOOL, "AUF", "Bremse lüften")],
                                         code=c.json())], user=True)]}


def internal_library():
    return {"format": "zkblocklibrary", "formatVersion": 1, "identifier": "internal-1", "kind": 257,
            "name": text("Interne Bausteine", "Internal blocks"),
            "blocks": [block("UserBlock_DIAG01", "Diagnosezähler", "Diagnostic counter", "DIAG", "",
                             [definition([pin(1, 1, BOOL, "E", "Ereignis"), pin(2, 2, UDINT, "N", "Anzahl")], "counter")],
                             user=True)]}


def area(first, second, index, name, code, back=False, labels=()):
    root = definition([], code=code.json())
    root.pop("version")
    return {"first": first, "second": second, "index": index, "title": "", "displayName": name,
            "backDocumentation": back, "ownProgram": True, "root": root,
            "signalLabels": list(labels), "parameters": []}


def project():
    g = Code()
    a = g.add("StandardBlock_1", 4, 2, name="Freigabe")
    n = g.add("StandardBlock_4", 12, 2)
    g.wire(a, 3, n, 1, [(8, 3), (10, 3), (12, 3)])
    x = Code()
    nreg = x.add("StandardBlock_60", 10, 4, name="Drehzahlregler")
    k = x.add("ToolBlock_8000008", 2, 4, version=1, params="8;30;10;1;")
    brake = x.add("UserBlock_BRAKE01", 10, 12, name="Bremse")
    x.add("SystemBlock_1", 2, 16, lines=["Achse 1: Drehzahlregelung", "mit Bremsenansteuerung"], runtime=False)
    x.wire(k, 1, nreg, 1, [(6, 5), (8, 5), (10, 5)])
    y = Code()
    y.add("StandardBlock_60", 10, 4, name="Drehzahlregler")
    areas = [area(0, 0, 0, "Global", g),
             area(1, 0, 1, "Achse 1", x, labels=[{"node": "A1:0", "id": 1, "instance": nreg, "pin": 3,
                                                "name": "Moment", "offset": [1.0, -1.0]}]),
             area(2, 0, 2, "Achse 2 (Rückdokumentation)", y, back=True)]
    groups = []
    names = {1: ("Standard", "Standard"), 10: ("Logik", "Logic"), 100: ("Gatter", "Gates"), 101: ("Speicher", "Memory"),
             11: ("Arithmetik", "Arithmetic"), 110: ("Grundrechenarten", "Basic arithmetic"), 111: ("Vergleich", "Comparison"),
             12: ("Zeit", "Time"), 120: ("Zeitglieder", "Timers"), 13: ("Regelung", "Control"), 130: ("Regler", "Controllers"),
             131: ("Sollwerte", "Set points"), 2: ("Antrieb", "Drive"), 20: ("Regelkreise", "Control loops"),
             200: ("Drehzahl", "Speed"), 3: ("System", "System"), 30: ("Werkzeuge", "Tools"), 300: ("Konstanten", "Constants"),
             31: ("Parameter", "Parameters"), 310: ("Zugriff", "Access"), 32: ("Darstellung", "Display"),
             320: ("Text und Anschlüsse", "Text and pins"), 33: ("Vorlagen", "Templates"), 330: ("Regelung", "Control")}
    for number in sorted(names):
        groups.append({"number": number, "name": text(*names[number])})
    return {"format": "zkblockproject", "formatVersion": 1, "name": "Beispielanlage",
            "datatypes": [], "groups": groups,
            "libraries": [{"file": "standard.zklib"}, {"file": "anlage.zklib"}, {"file": "intern.zklib"}],
            "areas": areas}


def write(name, data):
    with open(os.path.join(OUT, name), "w", encoding="utf-8") as f:
        json.dump(data, f, ensure_ascii=False, indent=2)
        f.write("\n")


if __name__ == "__main__":
    os.makedirs(OUT, exist_ok=True)
    write("standard.zklib", standard_library())
    write("anlage.zklib", user_library())
    write("intern.zklib", internal_library())
    write("project.zkproj", project())
