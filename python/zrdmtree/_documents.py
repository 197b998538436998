"""Opening and saving documents and cut lists: from and to paths, file objects and bytes.

`findings`, where it is given, is a list that gets what is to be said about the file (zrdmtree.Finding). What cannot be
read or written raises DmError, whose `findings` say why; what is wrong with the file itself, OSError.
"""

import errno
import io
import os
import re

from . import _zrdmtree


def load(source, *, format=None, fcm=None, lenient=False, findings=None):
    """The document or cut list of a path or of a file object, as a tree that can be changed.

    format: one of formats(); by default by the content, then by the extension.
    fcm: the frame-code mode of a list that does not say its own.
    lenient: carries on where a list has a mistake.
    """
    _check(findings)
    if hasattr(source, "read"):
        name = str(getattr(source, "name", "<file>"))
        return _read_bytes(source.read(), name, format, fcm, lenient, findings)
    path = os.fspath(source)
    with open(path, "rb"):  # says in Python's words what is wrong with the file
        pass
    return _result(_zrdmtree._read_file(os.fsencode(path), _name(path), format or "", fcm, lenient), findings)


def loads(document, *, format=None, fcm=None, lenient=False, findings=None):
    """The document or cut list that a text or bytes hold; a document may be of any object of the model."""
    _check(findings)
    content = _bytes(document)
    if format in (None, "json") and re.match(rb'\s*\{\s*"(?!DmRoot")\w+"\s*:\s*\{', content) and b"OTIO" not in content[:4096]:
        return _zrdmtree._loads(content, "<document>")
    return _read_bytes(content, "<document>", format, fcm, lenient, findings)


def save(root, target, *, format=None, fcm=None, compact=False, findings=None):
    """Writes a document or a cut list to a path, which is replaced as a whole or not at all, or to a file object.

    format: by default that of the extension, else a document.
    """
    _check(findings)
    if hasattr(target, "write"):
        if isinstance(target, io.TextIOBase):
            raise TypeError("documents are written as bytes: open the file with mode 'wb'")
        name = getattr(target, "name", None)
        format = format or (_zrdmtree._format_of_path(name) if isinstance(name, str) else "")
        target.write(dumps(root, format=format, fcm=fcm, compact=compact, findings=findings))
        return
    path, name = os.fsencode(target), _name(target)
    if b"\0" in path:
        raise ValueError("embedded null byte")
    format = format or _zrdmtree._format_of_path(name) or "json"
    _check_target(path, name)
    if format == "json":
        _zrdmtree._save(root, path, compact)
    else:
        _result(_zrdmtree._write_file(root, path, name, format, fcm), findings)


def dumps(root, *, format=None, fcm=None, compact=False, findings=None):
    """A document of a tree, or of any object of the model, or a cut list of a tree, as bytes."""
    _check(findings)
    if format in (None, "", "json"):
        return _zrdmtree._dumps(root, compact)
    return _result(_zrdmtree._write_bytes(root, format, fcm), findings)


def convert(source, target, *, fcm=None, lenient=False):
    """From one file to another, by their formats; what is to be said about both is the answer."""
    if not hasattr(target, "write") and not _zrdmtree._format_of_path(_name(target)):
        formats = ", ".join(_zrdmtree.formats())
        raise _error(_zrdmtree.DmValueError, f"{_name(target)}: the extension names no format; there are {formats}", [])
    findings = []
    save(load(source, fcm=fcm, lenient=lenient, findings=findings), target, fcm=fcm, findings=findings)
    return findings


def _check_target(path, name):
    """Says in Python's words why nothing can be written there."""
    wrong = errno.EISDIR if os.path.isdir(path) else 0
    try:
        os.stat(os.path.join(os.path.dirname(path) or b".", b""))
    except OSError as error:
        wrong = error.errno
    if wrong:
        raise OSError(wrong, os.strerror(wrong), name)


def _check(findings):
    if findings is not None and not isinstance(findings, list):
        raise TypeError(f"findings is a list to add to, not {type(findings).__name__}")


def _bytes(document):
    if isinstance(document, str):
        return document.encode(errors="surrogatepass")
    if not isinstance(document, (bytes, bytearray, memoryview)):
        raise TypeError(f"a document is a text or bytes, not {type(document).__name__}")
    return bytes(document)


def _read_bytes(document, name, format, fcm, lenient, findings):
    return _result(_zrdmtree._read_bytes(_bytes(document), name, format or "", fcm, lenient), findings)


def _result(answer, findings):
    made, found, text = answer
    if findings is not None:
        findings.extend(found)
    if made is None:
        raise _error(_zrdmtree.DmError, text, found)
    return made


def _error(kind, text, findings):
    error = kind(text)
    error.code, error.text, error.findings = -1, text, findings
    return error


def _name(path):
    """A path as texts show it."""
    return os.fsdecode(path).encode(errors="replace").decode()
