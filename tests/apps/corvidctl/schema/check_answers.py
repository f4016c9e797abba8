"""Holds what corvidctl printed against the schema of its answers.

usage: check_answers.py SCHEMA < ANSWERS

Each line of ANSWERS is {"what": a name for messages, "entry": a name under the schema's $defs, "answer": what was
printed}. A line is printed for each mistake; the status is 1 if there is one. Beyond what the schema asks for, no
answer may have a property that it does not describe: users may meet such, from a later version, but a version that
prints one has to describe it.
"""

import json
import sys

from jsonschema import Draft202012Validator


def strict(schema, definitions):
    """The schema, in which objects have no properties but those that are described."""
    if isinstance(schema, list):
        return [strict(item, definitions) for item in schema]
    if not isinstance(schema, dict):
        return schema
    if "$ref" in schema and "properties" in schema:
        schema = joined(schema, definitions)
    result = {name: strict(value, definitions) for name, value in schema.items()}
    if isinstance(schema.get("properties"), dict) and "type" in schema:
        result["additionalProperties"] = False
    return result


def joined(schema, definitions):
    """An object of a base's properties and further ones, which stand beside the reference to the base."""
    if "$ref" not in schema:
        return schema
    base = joined(definitions[schema["$ref"].removeprefix("#/$defs/")], definitions)
    return {
        "type": "object",
        "properties": {**base["properties"], **schema["properties"]},
        "required": base["required"] + schema.get("required", []),
    }


def mistakes(schema, lines):
    definitions = strict(schema["$defs"], schema["$defs"])
    for line in lines:
        case = json.loads(line)
        validator = Draft202012Validator({"$ref": "#/$defs/" + case["entry"], "$defs": definitions})
        for error in validator.iter_errors(case["answer"]):
            place = "/".join(str(step) for step in error.absolute_path)
            yield f"{case['what']}: {place}: {error.message}"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    found = list(mistakes(schema, sys.stdin))
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
