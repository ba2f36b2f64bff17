"""The type stub describes exactly what the compiled module offers."""

import ast
import collections.abc
import pathlib

import tsdictionary as ts

STUB = ast.parse((pathlib.Path(ts.__file__).parent / "__init__.pyi").read_text())


def declared(body):
    names = set()
    for node in body:
        if isinstance(node, (ast.ClassDef, ast.FunctionDef)):
            names.add(node.name)
        elif isinstance(node, ast.Assign):
            names.update(t.id for t in node.targets if isinstance(t, ast.Name))
    return names


def public(obj):
    return {name for name in vars(obj) if not name.startswith("_")}


def test_module_names_match_the_stub():
    assert declared(STUB.body) - {"Value"} == set(ts.__all__)


def test_class_members_match_the_stub():
    classes = {node.name: node for node in STUB.body if isinstance(node, ast.ClassDef)}
    # The stub's Dictionary inherits the mapping methods from MutableMapping.
    mapping = {name for name in dir(collections.abc.MutableMapping) if not name.startswith("_")}
    for cls, inherited in ((ts.Dictionary, mapping), (ts.TimeBase, set())):
        stubbed = {name for name in declared(classes[cls.__name__].body) if not name.startswith("_")}
        assert public(cls) - inherited == stubbed - inherited, cls
