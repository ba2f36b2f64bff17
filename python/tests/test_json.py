"""JSON from Python: the typed form keeps every label, the plain form is what json reads."""

import json

import pytest

import tsdictionary as ts


def every_label():
    d = ts.Dictionary({"i64": -(2**63), "u64": 2**64 - 1, "f64": -0.0, "s": "sc\u00e8ne", "none": None,
                       "tb": ts.TimeBase(50, 2), "vec": [1, [2.5]], "dict": {"!x": {}}})
    for label, value in [("bool", True), ("char", "\udce9"), ("int8", -128), ("uint8", 255), ("int16", -2),
                         ("uint16", 65535), ("int32", 1920), ("uint32", 2**32 - 1), ("float", 0.1)]:
        d.set_typed(label, value, label)
    return d


def test_typed_form_round_trips_every_label():
    d = every_label()
    back = ts.from_json(ts.to_json(d))
    assert back == d
    assert {key: back.label(key) for key in back} == {key: d.label(key) for key in d}
    assert ts.canonical_signature(back) == ts.canonical_signature(d)  # content, not just ==


@pytest.mark.parametrize(
    "text, expected",
    [
        ('{"w": 1920, "r": 0.5, "n": null, "l": [true, "x"]}', {"w": 1920, "r": 0.5, "n": None, "l": [True, "x"]}),
        ('[1, {"a": 2}]', [1, {"a": 2}]),
        ("18446744073709551615", 2**64 - 1),
        ('"text"', "text"),
        ('{"!int32": 7}', 7),
    ],
)
def test_from_json_gives_python_objects(text, expected):
    for document in (text, text.encode(), bytearray(text.encode())):
        value = ts.from_json(document)
        plain = json.loads(ts.to_json(value, plain=True)) if isinstance(value, (ts.Dictionary, list)) else value
        assert plain == expected


def test_from_json_labels():
    d = ts.from_json('{"a": 1, "b": 1.0, "c": {"!uint16": 3}, "d": {}, "e": []}')
    assert [d.label(k) for k in "abcde"] == ["int64", "double", "uint16", "dictionary", "vector"]


def test_plain_form_is_json_for_other_programs():
    d = ts.Dictionary({"tb": ts.TimeBase(30000, 1001), "v": [1, None]})
    d.set_typed("w", 1920, "int32")
    assert json.loads(ts.to_json(d, plain=True)) == {"tb": "30000/1001", "v": [1, None], "w": 1920}
    assert json.loads(ts.to_json(d, plain=True, indent=4)) == json.loads(ts.to_json(d, plain=True))
    assert "\n    " in ts.to_json(d, indent=4)


def test_large_documents_match_json_loads():
    # Above the size from which the document is read with the GIL released.
    data = {f"clip{i}": {"name": f"shot {i}", "in": i, "rate": i / 7, "tags": ["a", "b"]} for i in range(2000)}
    text = json.dumps(data)
    assert len(text) > 64 * 1024
    back = ts.from_json(text)
    assert json.loads(ts.to_json(back, plain=True)) == data
    assert ts.from_json(ts.to_json(back)) == back


@pytest.mark.parametrize(
    "document, line, column",
    [
        ('{"a": }', 1, 7),
        ('{\n"a": 1,\n"a": 2}', 3, None),  # a repeated key
        ("[" * 1001 + "]" * 1001, 1, None),  # deeper than 1000 levels
        (b'"\xff"', 1, None),  # no UTF-8
        ("\"\udcff\"", 1, None),  # the same byte from a str
        ("", 1, None),
        ("1 2", 1, None),
    ],
)
def test_bad_documents_raise_json_error(document, line, column):
    with pytest.raises(ts.JsonError) as caught:
        ts.from_json(document)
    assert caught.value.items["Line"] == line
    if column is not None:
        assert caught.value.items["Column"] == column


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: ts.to_json({"x": float("nan")}, plain=True), ts.JsonError),
        (lambda: ts.to_json({"bad": "\udcff"}), ts.JsonError),  # a string that is no UTF-8
        (lambda: ts.to_json(object()), TypeError),
        (lambda: ts.to_json({}, indent=33), ValueError),
        (lambda: ts.to_json({}, indent=-1), TypeError),
        (lambda: ts.from_json(42), TypeError),
        (lambda: ts.from_json(memoryview(b"[1, 2]")[::2]), BufferError),
    ],
)
def test_refusals(call, error):
    with pytest.raises(error):
        call()


def test_json_of_a_stale_view_raises():
    d = ts.Dictionary({"a": {}})
    view = d["a"]
    d.clear()
    with pytest.raises(ts.PathError):
        ts.to_json(view)
