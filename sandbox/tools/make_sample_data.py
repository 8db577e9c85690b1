#!/usr/bin/env python3
"""Writes the sandbox's sample data set: two databases, three fields, a dozen wells, their
surveys and about forty ws files with side files, the users admin/admin (all rights) and
viewer/viewer (view only), and a few server options.

The output depends on nothing but this script: the same bytes on every run and every machine
(no clock, no random module, no hash seeds). Run it from anywhere:

    python3 sandbox/tools/make_sample_data.py            # rewrites sandbox/sample-data
    python3 sandbox/tools/make_sample_data.py OUT_DIR

The data directory format is described in sandbox/README.md.
"""

import math
import os
import shutil
import struct
import sys
import zlib
from xml.sax.saxutils import quoteattr

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_OUT = os.path.normpath(os.path.join(HERE, "..", "sample-data"))

WS_MAGIC = b"SBXWS01\0"
NAME_BYTES = 16


class Lcg:
    """A 64-bit linear congruential generator: deterministic everywhere."""

    def __init__(self, seed):
        self.state = (seed * 6364136223846793005 + 1442695040888963407) & 0xFFFFFFFFFFFFFFFF

    def next(self):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) & 0xFFFFFFFFFFFFFFFF
        return self.state >> 11

    def uniform(self):
        return self.next() / float(1 << 53)


def seed_of(text):
    return zlib.crc32(text.encode("utf-8"))


# ---- What the data set holds ------------------------------------------------------------

RU_LEVELS = [("%field", "Месторождение", True), ("%well", "Скважина", True),
             ("%survey", "Исследование", False)]
EN_LEVELS = [("%field", "Field", True), ("%well", "Well", True), ("%survey", "Survey", False)]

RU_CURVES = [("ГК", "мкР/ч", 6.0, 3.0), ("НГК", "у.е.", 2.2, 0.8), ("ПС", "мВ", -40.0, 25.0),
             ("КС", "Ом·м", 12.0, 9.0), ("ДС", "мм", 216.0, 8.0), ("АК", "мкс/м", 280.0, 60.0)]
EN_CURVES = [("GR", "API", 60.0, 35.0), ("NPHI", "v/v", 0.22, 0.08), ("RHOB", "g/cm3", 2.35, 0.15),
             ("RT", "ohm.m", 15.0, 12.0), ("CALI", "in", 8.5, 0.4), ("DT", "us/ft", 85.0, 20.0)]

DATABASES = [
    {
        "id": 1, "name": "Западная Сибирь", "dir": "databases/west-siberia",
        "levels": RU_LEVELS, "lang": "ru",
        "roots": [{"id": 1, "dir": "databases/west-siberia-archive"}],
        "fields": [
            ("Северное", "SEV", [("12", ["ГИС 2019", "Контроль 2021"]), ("12a", ["ГИС 2020"]),
                                 ("105", ["ГИС 2018", "Контроль 2022"]), ("N105-2", ["ГИС 2021"])]),
            ("Озёрное", "OZR", [("7", ["ГИС 2017", "Контроль 2020"]), ("7б", ["ГИС 2019"]),
                                ("210", ["ГИС 2022"]), ("211-Г", ["ГИС 2023"])]),
        ],
        # Older surveys kept under the archive root.
        "archive": [("Северное", "SEV", "12", "ГИС 1998"), ("Озёрное", "OZR", "7", "ГИС 2001")],
    },
    {
        "id": 2, "name": "North Sea Demo", "dir": "databases/north-sea-demo",
        "levels": EN_LEVELS, "lang": "en", "roots": [],
        "fields": [
            ("Eastfield", "EAS", [("N1", ["Logging 2016", "Cased hole 2021"]),
                                  ("N2", ["Logging 2018", "Cased hole 2022"]),
                                  ("15-ST1", ["Logging 2020"]), ("33", ["Logging 2019", "Cased hole 2023"])]),
        ],
        "archive": [],
    },
]

# Body sizes in bytes, taken in turn: mostly small files, a few of some hundred kilobytes and
# two of over a megabyte (the whole set stays near 5 MB).
SIZE_PLAN = [6_000, 24_000, 4_000, 60_000, 12_000, 180_000, 8_000, 32_000, 16_000, 1_200_000,
             5_000, 48_000, 20_000, 300_000, 10_000, 40_000, 7_000, 90_000, 14_000, 1_500_000,
             9_000, 28_000, 64_000, 11_000, 220_000, 18_000, 36_000, 4_500, 120_000, 26_000,
             15_000, 80_000, 22_000, 400_000, 13_000, 52_000, 5_500, 30_000, 17_000, 150_000]

STEPS = [0.01, 0.02, 0.05, 0.1, 0.2]


def survey_files(well, survey, lang):
    """The ws files of one survey: a main log, and one or two more for some surveys."""
    year = survey.split()[-1]
    control = "Контроль" in survey or "Cased" in survey
    kind = ("ctl" if control else "gis") if lang == "ru" else ("ch" if control else "log")
    files = [f"{kind}_{year}"]
    seed = seed_of(well + "/" + survey)
    if seed % 4 != 0:
        files.append(f"{kind}_{year}_rep")
    if seed % 5 == 0:
        files.append(f"{kind}_{year}_ext")
    return files


# ---- Writers ----------------------------------------------------------------------------

def xml_file(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8", newline="\n") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n' + text)


def attrs(**values):
    return "".join(f" {name}={quoteattr(str(value))}" for name, value in values.items())


def number(value):
    text = f"{value:.6f}".rstrip("0").rstrip(".")
    return text if text not in ("", "-0") else "0"


def ws_body(rel_name, curves, top, step, samples):
    rng = Lcg(seed_of(rel_name))
    out = bytearray(WS_MAGIC)
    out += struct.pack("<IIff", len(curves), samples, top, step)
    for name, _, _, _ in curves:
        raw = name.encode("utf-8")[:NAME_BYTES]
        out += raw + b"\0" * (NAME_BYTES - len(raw))
    for index, (_, _, base, swing) in enumerate(curves):
        phase = rng.uniform() * 6.28
        values = []
        level = 0.0
        for i in range(samples):
            depth = top + i * step
            level = 0.97 * level + 0.03 * (rng.uniform() - 0.5) * 2
            value = base + swing * (0.6 * math.sin(depth / (7.0 + index) + phase) + 0.4 * level)
            values.append(value)
        out += struct.pack(f"<{samples}f", *values)
    return bytes(out)


def side_file(meta):
    lines = [f"<wsinfo{attrs(trunk_id=meta['trunk'], main='true' if meta['main'] else 'false')}>"]
    for key, value in meta["params"]:
        lines.append(f"  <param{attrs(key=key, value=value)}/>")
    for table, curves in meta["tables"]:
        lines.append(f"  <table{attrs(name=table)}>")
        for c in curves:
            inner = "".join(f"<planshet{attrs(name=p)}/>" for p in c["planshets"])
            head = attrs(name=c["name"], start=number(c["start"]), stop=number(c["stop"]),
                         step=number(c["step"]), nvers=c["nvers"], dclass=c["dclass"],
                         units=c["units"])
            lines.append(f"    <curve{head}>{inner}</curve>" if inner else f"    <curve{head}/>")
        lines.append("  </table>")
    for p in meta["planshets"]:
        lines.append(f"  <planshet{attrs(name=p)}/>")
    lines.append("</wsinfo>\n")
    return "\n".join(lines)


def make_ws(out, db, base_dir, field, code, well, survey, name, main, size):
    lang = db["lang"]
    rel = f"{base_dir}/{field}/{well}/{survey}/{well}_{name}.ws"
    rng = Lcg(seed_of(rel) ^ 0x5A5A)
    curves_all = RU_CURVES if lang == "ru" else EN_CURVES
    count = 3 + rng.next() % 4
    curves = curves_all[:count]
    # Depth interval and step chosen so that the body comes near the planned size.
    samples_wanted = max(64, (size - 24 - NAME_BYTES * count) // (4 * count))
    interval = 50 + rng.next() % 700
    step = min(STEPS, key=lambda s: abs(samples_wanted * s - interval))
    top = float(1000 + (rng.next() % 1800))
    samples = samples_wanted
    body = ws_body(rel, curves, top, step, samples)
    stop = top + (samples - 1) * step

    plans = ["Основной", "Корреляция"] if lang == "ru" else ["Main", "Correlation"]
    gis = "ГИС" if lang == "ru" else "LOG"
    table_curves = []
    for i, (cname, units, _, _) in enumerate(curves):
        table_curves.append({"name": cname, "start": top, "stop": stop, "step": step, "nvers": 1 + (i == 0),
                             "dclass": 1, "units": units,
                             "planshets": plans[: 1 + (i % 2)] if i < 3 else []})
    tables = [(gis, table_curves)]
    if rng.next() % 2 == 0:
        beds = ["АС10", "БС8", "ЮС1"] if lang == "ru" else ["Brent", "Dunlin", "Statfjord"]
        bed_curves = []
        depth = top
        for b in beds:
            thickness = 8 + rng.next() % 30
            bed_curves.append({"name": b, "start": depth, "stop": depth + thickness, "step": 0, "nvers": 1,
                               "dclass": 2, "units": "", "planshets": [plans[1]]})
            depth += thickness + rng.next() % 40
        tables.append(("Стратиграфия" if lang == "ru" else "Strat", bed_curves))
    if main and rng.next() % 3 == 0:
        incl = [("Угол", "град"), ("Азимут", "град")] if lang == "ru" else [("Incl", "deg"), ("Azim", "deg")]
        tables.append(("Инклинометрия" if lang == "ru" else "Deviation",
                       [{"name": n, "start": 0, "stop": stop, "step": 10, "nvers": 1, "dclass": 3,
                         "units": u, "planshets": []} for n, u in incl]))
    params = ([("Оператор", f"Партия {10 + rng.next() % 40}"), ("Дата", survey.split()[-1])]
              if lang == "ru" else [("Operator", f"Crew {10 + rng.next() % 40}"), ("Date", survey.split()[-1])])
    meta = {"trunk": f"{code}-{well}", "main": main, "params": params, "tables": tables,
            "planshets": plans}

    path = os.path.join(out, *rel.split("/"))
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(body)
    with open(path + ".xml", "w", encoding="utf-8", newline="\n") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n' + side_file(meta))
    return len(body)


def catalog_xml():
    lines = [f"<sandbox_databases{attrs(next_id=len(DATABASES) + 1)}>"]
    for db in DATABASES:
        lines.append(f"  <database{attrs(id=db['id'], name=db['name'], dir=db['dir'], main_file_type=1)}>")
        for type_, real, key in db["levels"]:
            extra = attrs(is_key="true") if key else ""
            lines.append(f"    <level{attrs(type=type_, real_name=real)}{extra}/>")
        for root in db["roots"]:
            lines.append(f"    <root{attrs(id=root['id'], dir=root['dir'])}/>")
        lines.append("  </database>")
    lines.append("</sandbox_databases>\n")
    return "\n".join(lines)


def users_xml():
    return """<UserPermissionsData>
  <Users>
    <Item User="admin" Name="Администратор песочницы" Pass="admin"><Attributes/></Item>
    <Item User="viewer" Name="Наблюдатель" Pass="viewer"><Attributes/></Item>
  </Users>
  <Groups>
    <Item Name="Администраторы" Rights="127" GroupId="1" ParentId="">
      <DbPremissions/>
      <Users><Item>admin</Item></Users>
      <Attributes/>
    </Item>
    <Item Name="Наблюдатели" Rights="1" GroupId="2" ParentId="">
      <DbPremissions/>
      <Users><Item>viewer</Item></Users>
      <Attributes/>
    </Item>
  </Groups>
</UserPermissionsData>
"""


def options_xml():
    options = [("ServerName", "Песочница разработчика"), ("LogLevel", "1"),
               ("MaxSearchResults", "1000"), ("DefaultDatabase", "Западная Сибирь")]
    lines = ["<Options>"] + [f"  <Item{attrs(Name=n, Value=v)}/>" for n, v in options] + ["</Options>\n"]
    return "\n".join(lines)


def main():
    out = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else DEFAULT_OUT
    if os.path.exists(out):
        if not os.path.exists(os.path.join(out, "databases.xml")):
            sys.exit(f"{out} exists and is not a sandbox data directory; not touching it")
        shutil.rmtree(out)
    os.makedirs(out)

    xml_file(os.path.join(out, "databases.xml"), catalog_xml())
    xml_file(os.path.join(out, "users.xml"), users_xml())
    xml_file(os.path.join(out, "options.xml"), options_xml())

    sizes = iter(SIZE_PLAN * 2)
    files = total = 0
    for db in DATABASES:
        for field, code, wells in db["fields"]:
            for well, surveys in wells:
                for survey in surveys:
                    for i, name in enumerate(survey_files(well, survey, db["lang"])):
                        total += make_ws(out, db, db["dir"], field, code, well, survey, name, i == 0, next(sizes))
                        files += 1
        for field, code, well, survey in db["archive"]:
            root = db["roots"][0]["dir"]
            total += make_ws(out, db, root, field, code, well, survey, "gis_" + survey.split()[-1], True,
                             next(sizes))
            files += 1
    print(f"{out}: {files} ws files, {total} bytes of ws data")


if __name__ == "__main__":
    main()
