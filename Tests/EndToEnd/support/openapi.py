"""Requests and answers, held against an OpenAPI 3.1 document, whose schemas are JSON Schemas."""

import json
import re

from jsonschema import Draft202012Validator, RefResolver


def undescribed(document, schema, value, place=""):
    """Fields of `value` that `schema` does not tell of."""
    while "$ref" in schema:
        schema = at(document, schema["$ref"])
    if isinstance(value, dict) and "additionalProperties" not in schema:
        for name, item in value.items():
            if name not in schema.get("properties", {}):
                yield f"{place}/{name}"
            else:
                yield from undescribed(document, schema["properties"][name], item, f"{place}/{name}")
    elif isinstance(value, list):
        for item in value:
            yield from undescribed(document, schema.get("items", {}), item, place + "[]")


def at(document, reference):
    for name in reference.removeprefix("#/").split("/"):
        document = document[name]
    return document


class OpenAPI:
    def __init__(self, path):
        self.document = json.loads(path.read_text())
        self.seen = set()  # operation and status of every answer that was checked

    def operation(self, method, path):
        """The operation that a path without its query belongs to."""
        for template, operations in self.document["paths"].items():
            pattern = re.sub(r"\{key\}", ".+", template)
            if re.fullmatch(re.sub(r"\{[a-zA-Z]+\}", "[^/]+", pattern), path) and method.lower() in operations:
                return operations[method.lower()]
        raise AssertionError(f"{method} {path} is not in the document")

    def operations(self):
        return {operation["operationId"] for operations in self.document["paths"].values()
                for name, operation in operations.items() if name != "parameters"}

    def faults(self, schema, value):
        validator = Draft202012Validator(schema, resolver=RefResolver.from_schema(self.document))
        return [f"{'/'.join(map(str, error.absolute_path))}: {error.message}" for error in validator.iter_errors(value)] + \
            [place + " is not described" for place in undescribed(self.document, schema, value)]

    def request_faults(self, method, path, body):
        content = self.operation(method, path)["requestBody"]["content"]
        return self.faults(content["application/json"]["schema"], json.loads(body))

    def answer_faults(self, method, path, status, body):
        operation = self.operation(method, path)
        answer = operation["responses"].get(str(status))
        if answer is None:
            return [f"{method} {path}: status {status} is not described"]
        self.seen.add((operation["operationId"], status))
        if "content" not in answer:
            return []
        return [f"{method} {path} {status}: {fault}" for fault in
                self.faults(answer["content"]["application/json"]["schema"], json.loads(body))]
