"""Builds the wheel with CMake: what pip calls (PEP 517). Stands on the standard library alone.

Settings (--config-settings): build-dir=DIR, a build tree to use, configured or not; by default build/wheel.
"""

import base64
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
NAME = "zrdmtree"
SUMMARY = "Timelines of a video edit: documents, cut lists, checks and edits"


def version():
    return re.search(r"project\(ZRdmtree VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1]


def metadata():
    return (
        f"Metadata-Version: 2.1\nName: {NAME}\nVersion: {version()}\nSummary: {SUMMARY}\nRequires-Python: >=3.9\n"
        "Description-Content-Type: text/markdown\n\n" + (SOURCE / "docs" / "python.md").read_text()
    )


def tag():
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    return f"{python}-{python}-" + re.sub(r"[-.]", "_", sysconfig.get_platform())


def run(*command):
    try:
        subprocess.run([str(each) for each in command], check=True, stdout=sys.stderr)
    except FileNotFoundError:
        raise SystemExit(f"{command[0]} is missing: scripts/setup installs what the build needs") from None


def staged(build, stage):
    """The package as it is installed, in `stage`."""
    if not (build / "CMakeCache.txt").exists():
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        run("cmake", "-S", SOURCE, "-B", build, *generator, "-DCMAKE_BUILD_TYPE=Release", "-DZR_TESTS=OFF",
            "-DZR_BENCH=OFF", f"-DZR_PYTHON={sys.executable}")
    run("cmake", "--build", build, "-j", str(os.cpu_count() or 1), "--target", "zr_python_package")
    run("cmake", "--install", build, "--component", "wheel", "--prefix", stage)
    for link in [path for path in stage.rglob("*") if path.is_symlink()]:
        target = link.resolve()
        link.unlink()
        shutil.move(target, link)
    if not list((stage / NAME).glob("_zrdmtree*.so")):
        raise SystemExit("the package was not built: Python's headers and pybind11 are needed (scripts/setup)")


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    build = pathlib.Path((config_settings or {}).get("build-dir", SOURCE / "build" / "wheel")).resolve()
    name = f"{NAME}-{version()}-{tag()}.whl"
    info = f"{NAME}-{version()}.dist-info"
    with tempfile.TemporaryDirectory() as folder:
        stage = pathlib.Path(folder)
        staged(build, stage)
        (stage / info).mkdir()
        (stage / info / "METADATA").write_text(metadata())
        (stage / info / "WHEEL").write_text(
            f"Wheel-Version: 1.0\nGenerator: {NAME}\nRoot-Is-Purelib: false\nTag: {tag()}\n")
        (stage / info / "entry_points.txt").write_text(f"[console_scripts]\ndmtree = {NAME}.__main__:main\n")
        record = []
        with zipfile.ZipFile(pathlib.Path(wheel_directory) / name, "w", zipfile.ZIP_DEFLATED) as wheel:
            for path in sorted(path for path in stage.rglob("*") if path.is_file()):
                digest = base64.urlsafe_b64encode(hashlib.sha256(path.read_bytes()).digest()).rstrip(b"=").decode()
                inside = path.relative_to(stage).as_posix()
                record.append(f"{inside},sha256={digest},{path.stat().st_size}")
                wheel.write(path, inside)
            wheel.writestr(f"{info}/RECORD", "\n".join(record + [f"{info}/RECORD,,", ""]))
    return name


def build_sdist(sdist_directory, config_settings=None):
    """What version control has, or, without one, everything but the builds."""
    top = f"{NAME}-{version()}"
    listed = subprocess.run(["git", "-C", SOURCE, "ls-files", "-z"], capture_output=True, text=True)
    names = listed.stdout.split("\0")[:-1] if listed.returncode == 0 else [
        path.relative_to(SOURCE).as_posix() for path in SOURCE.rglob("*")
        if path.is_file() and path.relative_to(SOURCE).parts[0] not in ("build", ".git")]
    with tarfile.open(pathlib.Path(sdist_directory) / f"{top}.tar.gz", "w:gz") as archive:
        for name in names:
            archive.add(SOURCE / name, f"{top}/{name}")
    return f"{top}.tar.gz"
