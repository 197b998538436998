"""The wheel, installed in a fresh environment without a network."""

import os
import pathlib
import subprocess
import sys
import tarfile

import pytest

SOURCE = pathlib.Path(os.environ["ZR_EXAMPLES"]).parent
CLEAN = {name: value for name, value in os.environ.items() if name not in ("PYTHONPATH", "LD_PRELOAD")}


def run(*command, cwd):
    done = subprocess.run(list(map(str, command)), cwd=cwd, env=CLEAN, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.mark.skipif("ZR_BUILD" not in os.environ, reason="the build tree is not known")
def test_pip_installs_a_checkout_without_a_network(tmp_path):
    run(sys.executable, "-m", "venv", "fresh", cwd=tmp_path)
    python = tmp_path / "fresh" / "bin" / "python"
    run(python, "-m", "pip", "install", "--no-index", "--disable-pip-version-check", "--config-settings",
        "build-dir=" + os.environ["ZR_BUILD"], SOURCE, cwd=tmp_path)
    document = SOURCE / "examples" / "documents" / "commercial-25.json"
    program = f"import zrdmtree; print(zrdmtree.__file__, len(zrdmtree.load({str(document)!r}).segments()))"
    where, count = run(python, "-c", program, cwd=tmp_path).split()
    assert where.startswith(str(tmp_path)) and count == "13"
    for command in ([python, "-m", "zrdmtree"], [python.parent / "dmtree"]):
        assert run(*command, "check", document, cwd=tmp_path).endswith(": valid\n")
    libraries = run("ldd", next((tmp_path / "fresh").rglob("_zrdmtree*.so")), cwd=tmp_path)
    ours = [line.split()[2] for line in libraries.splitlines() if "ZR" in line]
    assert all(path.startswith(str(tmp_path)) for path in ours), ours
    assert next((tmp_path / "fresh").rglob("__init__.pyi")).read_text().count("class Dm") > 60
    run(python, "-m", "pip", "uninstall", "-y", "zrdmtree", cwd=tmp_path)
    assert not list((tmp_path / "fresh").rglob("*zrdmtree*.so"))


def test_the_backend_packs_the_sources(tmp_path):
    sys.path.insert(0, str(SOURCE / "python" / "backend"))
    try:
        import zr_backend
    finally:
        del sys.path[0]
    name = zr_backend.build_sdist(tmp_path)
    names = tarfile.open(tmp_path / name).getnames()
    top = name.removesuffix(".tar.gz")
    assert {f"{top}/pyproject.toml", f"{top}/CMakeLists.txt", f"{top}/python/backend/zr_backend.py"} <= set(names)
    assert not any(each.startswith(f"{top}/build/") for each in names)
