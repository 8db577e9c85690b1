"""A PEP 517 build backend for the ostradb package using only the standard library.

CMake builds the extension module from the whole source tree (the parent of python/) and
installs the package's files into a staging folder; the wheel is written from there with
zipfile. Settings (pip --config-settings KEY=VALUE): build-dir keeps the CMake build in a
folder of one's choice for faster rebuilds; build-type (Release by default).
"""

import base64
import hashlib
import os
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

PACKAGE_DIR = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCE_DIR = os.path.dirname(PACKAGE_DIR)


def _project():
    with open(os.path.join(PACKAGE_DIR, "pyproject.toml"), encoding="utf-8") as f:
        text = f.read()
    project = text[text.index("[project]"):]
    fields = dict(re.findall(r'^(\w[\w-]*)\s*=\s*"([^"]*)"', project, re.M))
    return fields["name"], fields["version"], fields.get("description", ""), fields.get(
        "requires-python", "")


def _tag():
    interpreter = {"cpython": "cp", "pypy": "pp"}.get(sys.implementation.name, "py")
    version = f"{sys.version_info.major}{sys.version_info.minor}"
    soabi = sysconfig.get_config_var("SOABI") or ""
    m = re.match(r"cpython-(\d+)", soabi)
    abi = f"cp{m.group(1)}" if m else "none"
    platform = re.sub(r"[-.]", "_", sysconfig.get_platform())
    return f"{interpreter}{version}-{abi}-{platform}"


def _metadata():
    name, version, summary, requires = _project()
    lines = ["Metadata-Version: 2.1", f"Name: {name}", f"Version: {version}", f"Summary: {summary}"]
    if requires:
        lines.append(f"Requires-Python: {requires}")
    return "\n".join(lines) + "\n"


def _dist_info():
    name, version, _, _ = _project()
    return f"{name}-{version}.dist-info"


def _run(command):
    print("+ " + " ".join(command), file=sys.stderr, flush=True)
    subprocess.run(command, check=True, stdout=sys.stderr)


def _build(build_dir, stage, build_type):
    configure = [
        "cmake", "-S", SOURCE_DIR, "-B", build_dir,
        f"-DCMAKE_BUILD_TYPE={build_type}",
        f"-DPython3_EXECUTABLE={sys.executable}",
        "-DOSTRADB_BUILD_PYTHON=ON", "-DOSTRADB_PYTHON_INSTALL_DIR=.",
        "-DBUILD_TESTING=OFF", "-DOSTRADB_BUILD_CLI=OFF", "-DOSTRADB_BUILD_SANDBOX=OFF",
        "-DOSTRADB_BUILD_BENCH=OFF",
    ]
    if shutil.which("ninja") and not os.path.exists(os.path.join(build_dir, "CMakeCache.txt")):
        configure += ["-G", "Ninja"]
    if shutil.which("ccache"):
        configure.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
    _run(configure)
    jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or str(os.cpu_count() or 1)
    _run(["cmake", "--build", build_dir, "--target", "ostradb_python", "--parallel", jobs])
    _run(["cmake", "--install", build_dir, "--component", "python", "--prefix", stage])


def _record_line(path, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{path},sha256={digest},{len(data)}"


def get_requires_for_build_wheel(config_settings=None):
    return []


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    dist_info = os.path.join(metadata_directory, _dist_info())
    os.makedirs(dist_info, exist_ok=True)
    with open(os.path.join(dist_info, "METADATA"), "w", encoding="utf-8") as f:
        f.write(_metadata())
    return _dist_info()


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    settings = config_settings or {}
    name, version, _, _ = _project()
    build_type = settings.get("build-type", "Release")
    keep = settings.get("build-dir")
    build_dir = os.path.abspath(keep) if keep else tempfile.mkdtemp(prefix="ostradb-build-")
    stage = tempfile.mkdtemp(prefix="ostradb-stage-")
    try:
        _build(build_dir, stage, build_type)
        tag = _tag()
        wheel_name = f"{name}-{version}-{tag}.whl"
        dist_info = _dist_info()
        files = []
        for folder, _, names in os.walk(stage):
            for file_name in sorted(names):
                path = os.path.join(folder, file_name)
                files.append((os.path.relpath(path, stage).replace(os.sep, "/"), path))
        generated = {
            f"{dist_info}/METADATA": _metadata().encode(),
            f"{dist_info}/WHEEL": (f"Wheel-Version: 1.0\nGenerator: ostradb_build\n"
                                   f"Root-Is-Purelib: false\nTag: {tag}\n").encode(),
        }
        records = []
        with zipfile.ZipFile(os.path.join(wheel_directory, wheel_name), "w",
                             zipfile.ZIP_DEFLATED) as wheel:
            for arcname, path in sorted(files):
                with open(path, "rb") as f:
                    data = f.read()
                wheel.writestr(zipfile.ZipInfo.from_file(path, arcname), data,
                               zipfile.ZIP_DEFLATED)
                records.append(_record_line(arcname, data))
            for arcname, data in generated.items():
                wheel.writestr(arcname, data)
                records.append(_record_line(arcname, data))
            records.append(f"{dist_info}/RECORD,,")
            wheel.writestr(f"{dist_info}/RECORD", "\n".join(records) + "\n")
        return wheel_name
    finally:
        shutil.rmtree(stage, ignore_errors=True)
        if not keep:
            shutil.rmtree(build_dir, ignore_errors=True)
