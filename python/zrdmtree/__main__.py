"""The command dmtree: `python -m zrdmtree check edit.json`."""

from ._command import main

if __name__ == "__main__":
    main()
