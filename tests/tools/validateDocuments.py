"""Validates documents against a JSON Schema: a line a document, "valid" or the first fault. Exit code 1 for a fault.

    validateDocuments.py SCHEMA DOCUMENT...
"""

import json
import sys

from jsonschema import Draft202012Validator, FormatChecker
from jsonschema.exceptions import best_match
from jsonschema.validators import validator_for


def main(schema_path, *documents):
    with open(schema_path, encoding="utf-8") as file:
        schema = json.load(file)
    kind = validator_for(schema, default=Draft202012Validator)
    kind.check_schema(schema)
    validator = kind(schema, format_checker=FormatChecker())
    faults = 0
    for document in documents:
        with open(document, encoding="utf-8") as file:
            fault = best_match(validator.iter_errors(json.load(file)))
        faults += fault is not None
        print("valid" if fault is None else f"{document}: {fault.json_path}: {fault.message[:300]}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
