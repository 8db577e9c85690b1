"""The Python example of README.md runs as written against the sandbox."""

import os
import re
import subprocess
import sys
from pathlib import Path

README = Path(__file__).resolve().parents[2] / "README.md"


def test_readme_example_runs_against_the_sandbox(sandbox, tmp_path):
    section = README.read_text(encoding="utf-8").split("## Using it from Python", 1)[1]
    example = re.search(r"```python\n(.*?)```", section, re.S).group(1)
    env = dict(os.environ, OSTRADB_HOST="127.0.0.1", OSTRADB_PORT=str(sandbox.port))
    run = subprocess.run([sys.executable, "-c", example], cwd=tmp_path, env=env,
                         capture_output=True, text=True, timeout=120)
    assert run.returncode == 0, run.stderr
    wells = Path(sandbox.data_dir, "databases", "north-sea-demo", "Eastfield", "N1")
    logs = {p.read_bytes() for p in wells.rglob("*_log_*.ws")}
    assert (tmp_path / "copy.ws").read_bytes() in logs and "ok=True" in run.stdout
    assert not list(wells.rglob("*_copy.ws"))
