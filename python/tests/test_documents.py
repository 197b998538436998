"""Opening and saving documents."""

import io
import pathlib
import threading

import pytest

import zrdmtree


@pytest.fixture
def path(examples):
    return examples / "documents" / "commercial-25.json"


def test_paths_files_and_bytes_are_one(path, tmp_path):
    root = zrdmtree.load(path)
    assert isinstance(root, zrdmtree.DmRoot)
    document = path.read_bytes()
    assert zrdmtree.load(str(path)) == zrdmtree.loads(document) == zrdmtree.loads(document.decode()) == root
    assert zrdmtree.load(io.BytesIO(document)) == zrdmtree.load(io.StringIO(document.decode())) == root
    assert zrdmtree.dumps(root) == document
    zrdmtree.save(root, tmp_path / "copy.json")
    assert (tmp_path / "copy.json").read_bytes() == document
    with open(tmp_path / "file.json", "wb") as file:
        zrdmtree.save(root, file)
    assert (tmp_path / "file.json").read_bytes() == document
    assert zrdmtree.loads(zrdmtree.dumps(root, compact=True)) == root


def test_what_is_wrong_is_said_with_its_place(path, tmp_path):
    broken = path.read_text().replace('"recLength": 88.0', '"recLenght": 88.0', 1).encode()
    with pytest.raises(zrdmtree.DmError, match=r"<document>:\d+:\d+: .*recLenght"):
        zrdmtree.loads(broken)
    (tmp_path / "broken.json").write_bytes(broken[:1000])
    with pytest.raises(zrdmtree.DmError, match=r"broken\.json:\d+"):
        zrdmtree.load(tmp_path / "broken.json")
    for bad in (b"", b"\xff", b"[]", b"{}", b'{"DmNoClass": {}}', b"\0" * 9, b"[" * 100000):
        with pytest.raises(zrdmtree.DmError):
            zrdmtree.loads(bad)
    with pytest.raises(FileNotFoundError):
        zrdmtree.load(tmp_path / "none.json")
    for bad in (None, 7, []):
        with pytest.raises(TypeError):
            zrdmtree.load(bad)
        with pytest.raises(TypeError):
            zrdmtree.loads(bad)
        with pytest.raises(TypeError):
            zrdmtree.save(bad, tmp_path / "x.json")
    for target, error in ((str(tmp_path / "x") + "\0y", ValueError), (io.StringIO(), TypeError)):
        with pytest.raises(error):
            zrdmtree.save(zrdmtree.DmRoot(), target)
    with open(tmp_path / "text.json", "w") as file, pytest.raises(TypeError, match="'wb'"):
        zrdmtree.save(zrdmtree.DmRoot(), file)
    for call in (zrdmtree.load, zrdmtree.loads, zrdmtree.dumps):
        with pytest.raises(TypeError, match="findings"):
            call(path.read_text() if call is zrdmtree.loads else path, findings=())
    with pytest.raises(FileNotFoundError, match="nowhere"):
        zrdmtree.save(zrdmtree.DmRoot(), tmp_path / "nowhere" / "x.json")


def test_timelines_are_written_as_their_trees(path, tmp_path):
    timeline = zrdmtree.load(path).publish()
    assert zrdmtree.dumps(timeline) == path.read_bytes()
    zrdmtree.save(timeline, tmp_path / "copy.json")
    assert (tmp_path / "copy.json").read_bytes() == path.read_bytes()
    assert zrdmtree.dumps(timeline, format="otio") == zrdmtree.dumps(timeline.root, format="otio")
    with pytest.raises(TypeError):
        zrdmtree.dumps(timeline.composition.publish(), format="otio")


def test_eight_threads_load_and_check_eight_documents(path):
    document, results = path.read_bytes(), []
    expected = zrdmtree.loads(document)

    def work():
        for _ in range(5):
            timeline = zrdmtree.loads(document).publish()
            results.append((timeline.root, zrdmtree.check(timeline), zrdmtree.dumps(timeline)))

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(results) == 40
    assert all(root == expected and found == [] and written == document for root, found, written in results)
