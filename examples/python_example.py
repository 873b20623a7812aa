"""The Python API: loads the layered station files, reads typed values, walks
a block, checks, then edits one value in place and saves.

Run with PFPATH=DIR:DIR/site-override on a copy of examples/ (the edit
changes the site override file)."""

import sys

import teskpf

cfg = teskpf.load("station")
for path in cfg.files:
    print("read", path)

typed = cfg.to_dict(typed=True)
port = typed["telemetry"]["port"]
print(f"status {cfg['status']}, port {port}, sample rate {typed['digitizer']['sample_rate']} Hz, "
      f"serial {typed['sensor']['serial']}")

for name, value in cfg["telemetry"].items():
    entry = cfg.entry(("telemetry", name))
    print(f"  telemetry.{name} = {value} ({entry.annotation or 'no annotation,'} {'ok' if entry.ok else 'FAILS'})")

problems = cfg.check()
for problem in problems:
    print(f"{problem.file}:{problem.line}:{problem.column}: {problem.severity}: {problem.message}")
print(f"{len(problems)} problem(s)")

where = cfg.entry(("telemetry", "port")).file
with teskpf.edit(where) as editor:  # locked; saved when the block ends cleanly
    editor.set(("telemetry", "port"), str(port + 1))

saved = teskpf.load("station").to_dict(typed=True)["telemetry"]["port"]
print(f"saved {where}: port {saved}")
sys.exit(0 if saved == port + 1 else 1)
