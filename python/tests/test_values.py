"""Values crossing between Python and the library: labels of new entries, the keep-your-type
rule of writes, typed stores, checked text, key paths and the limits on what a script hands in."""

import math

import pytest

import tsdictionary as ts

NTSC = ts.TimeBase(30000, 1001)


@pytest.mark.parametrize(
    "value, label, read_back",
    [
        (True, "bool", True),
        (1920, "int64", 1920),
        (-(2**63), "int64", -(2**63)),
        (2**63, "uint64", 2**63),  # above int64 an int keeps its value as uint64
        (2**64 - 1, "uint64", 2**64 - 1),
        (2.5, "double", 2.5),
        ("intro", "string", "intro"),
        ("caf\u00e9 \U0001f3ac", "string", "caf\u00e9 \U0001f3ac"),
        ("\udcff\udc80", "string", "\udcff\udc80"),  # bytes that are no UTF-8 round-trip
        ([1, "x", [2.5]], "vector", [1, "x", [2.5]]),
        ((1, None), "vector", [1, None]),
        (NTSC, "timebase", NTSC),
        (None, None, None),
    ],
)
def test_new_entries_take_the_natural_type(value, label, read_back):
    d = ts.Dictionary()
    d["k"] = value
    assert d.label("k") == label
    assert d["k"] == read_back and type(d["k"]) is type(read_back)


def test_new_entries_from_mappings_are_dictionaries():
    d = ts.Dictionary({"m": {"a": 1}, "d": ts.Dictionary({"b": 2})})
    assert (d.label("m"), d.label("d")) == ("dictionary", "dictionary")
    assert dict(d["m"]) == {"a": 1} and dict(d["d"]) == {"b": 2}


@pytest.mark.parametrize(
    "label, initial, written, expected, reason",
    [
        ("int32", 1920, 2048.7, 2048, "a double into an int32 drops the fraction"),
        ("int32", 0, True, 1, "bool converts to a number"),
        ("int32", 0, float("nan"), 0, "NaN into an integer gives 0"),
        ("int8", 0, 1000.0, 127, "out of range floats saturate"),
        ("uint16", 5, 2048.0, 2048, "a set_typed entry keeps its label"),
        ("float", 0.0, 0.1, 0.10000000149011612, "a float entry stores single precision"),
        ("double", 1.5, 2, 2.0, "an int into a double"),
        ("bool", False, 5, True, "nonzero is true"),
        ("char", "A", "B", "B", "a one-byte str writes a char"),
        ("char", "A", "\udcff", "\udcff", "a char holds any byte"),
        ("string", "a", "b", "b", "text replaces text"),
        ("timebase", NTSC, 25.0, ts.TimeBase(25, 1), "a float into a time base picks its fraction"),
        ("vector", [1], (2, "x"), [2, "x"], "a list replaces a vector"),
    ],
)
def test_writes_keep_the_entry_type(label, initial, written, expected, reason):
    d = ts.Dictionary()
    d.set_typed("k", initial, label)
    d["k"] = written
    assert d.label("k") == label, reason
    assert d["k"] == expected, reason


@pytest.mark.parametrize(
    "label, initial, written, error",
    [
        ("int32", 7, "12", ts.CastError),  # no cast from text to a number
        ("int32", 7, [1], ts.CastError),
        ("int32", 7, None, ts.NullError),  # an empty value is no value to assign
        ("string", "s", 5, ts.CastError),
        ("dictionary", {"a": 1}, 5, ts.CastError),
        ("timebase", NTSC, 25, ts.CastError),  # time bases convert from 32-bit ints, not int64
        ("char", "A", "AB", ts.CastError),
        ("vector", [1], {"a": 1}, ts.CastError),
    ],
)
def test_refused_writes_change_nothing(label, initial, written, error):
    d = ts.Dictionary()
    d.set_typed("k", initial, label)
    before = d.copy()
    with pytest.raises(error):
        d["k"] = written
    assert d == before


@pytest.mark.parametrize(
    "label, value, read_back",
    [
        ("int8", -5, -5),
        ("uint8", 255, 255),
        ("int16", -300, -300),
        ("uint32", 2**32 - 1, 2**32 - 1),
        ("int64", 7.9, 7),
        ("uint64", 2**64 - 1, 2**64 - 1),
        ("bool", 1, True),
        ("string", "x", "x"),
        ("timebase", 29.97, NTSC),
        ("dictionary", {"a": 1}, {"a": 1}),
        ("vector", [], []),
    ],
)
def test_set_typed_stores_the_label(label, value, read_back):
    d = ts.Dictionary({"k": "an entry of another type is replaced"})
    d.set_typed("k", value, label)
    assert d.label("k") == label
    assert (dict(d["k"]) if label == "dictionary" else d["k"]) == read_back


@pytest.mark.parametrize(
    "label, value, error",
    [
        ("no such label", 1, ts.UnknownTypeError),
        ("int32", "x", ts.CastError),
        ("dictionary", 5, ts.CastError),
        ("int32", None, ts.NullError),
    ],
)
def test_set_typed_refusals_leave_the_entry(label, value, error):
    d = ts.Dictionary({"k": 1})
    with pytest.raises(error):
        d.set_typed("k", value, label)
    assert d["k"] == 1 and d.label("k") == "int64"


@pytest.mark.parametrize(
    "label, initial, written, stored",
    [
        ("int32", 1, 2048.0, 2048),
        ("uint8", 1, 255, 255),
        ("float", 0.0, 0.5, 0.5),
        ("double", 0.0, 2**53, 2.0**53),
        ("int32", 1, 2048.5, ts.InexactConversionError),
        ("uint8", 1, 256, ts.InexactConversionError),
        ("float", 0.0, 0.1, ts.InexactConversionError),
        ("double", 0.0, 2**53 + 1, ts.InexactConversionError),
        ("bool", False, 2, ts.InexactConversionError),
        ("int32", 1, "2", ts.CastError),
    ],
)
def test_assign_exact_refuses_to_change_values(label, initial, written, stored):
    d = ts.Dictionary()
    d.set_typed("k", initial, label)
    if isinstance(stored, type):
        with pytest.raises(stored):
            d.assign_exact("k", written)
        assert d["k"] == initial
    else:
        d.assign_exact("k", written)
        assert d["k"] == stored and d.label("k") == label
    d.assign_exact("new", written)  # a new entry takes the value as it is
    assert d["new"] == written


def test_text_bytes_reach_the_library_unchanged():
    # The signature feeds a string's raw bytes: "\udcff" must be the single byte 0xFF.
    d = ts.Dictionary({"s": "\udcff"})
    assert d.signature() == ts.sign(b"(sstring\xff|)")


@pytest.mark.parametrize(
    "label, text, read_back, exact",
    [
        ("int32", " 42 ", 42, "42"),
        ("bool", "true", True, "true"),
        ("double", "0.1", 0.1, "0.1"),
        ("timebase", "29.97", NTSC, "30000/1001"),
        ("string", " as is ", " as is ", " as is "),
    ],
)
def test_parse_and_exact_text(label, text, read_back, exact):
    d = ts.Dictionary({"k": "replaced"})
    d.parse("k", text, label)
    assert (d.label("k"), d["k"], d.exact_text("k")) == (label, read_back, exact)


@pytest.mark.parametrize(
    "path, expected",
    [
        ("source/file", "a.mov"),
        ("shots/1", 2.5),
        ("shots/0/camera", "A"),
        ("odd~1key", 1),
    ],
)
def test_at_path(path, expected):
    d = ts.Dictionary({"source": {"file": "a.mov"}, "shots": [{"camera": "A"}, 2.5], "odd/key": 1})
    assert d.at_path(path) == expected


@pytest.mark.parametrize(
    "value",
    [object(), b"bytes", {1, 2}, 1j, [object()], {"k": object()}],
)
def test_unsupported_python_values_raise_type_error(value):
    d = ts.Dictionary({"k": 1})
    with pytest.raises(TypeError, match="cannot hold a value of Python type"):
        d["new"] = value
    assert list(d) == ["k"]


@pytest.mark.parametrize("value", [2**64, -(2**63) - 1, [2**70]])
def test_ints_beyond_64_bits_raise_overflow_error(value):
    with pytest.raises(OverflowError):
        ts.Dictionary()["k"] = value


def nested_lists(depth):
    value = 0
    for _ in range(depth):
        value = [value]
    return value


def nested_dicts(depth):
    value = {}
    for _ in range(depth - 1):
        value = {"x": value}
    return value


@pytest.mark.parametrize(
    "make, allowed",
    [
        (nested_lists, 999),  # the root dictionary is the 1000th level
        (nested_dicts, 999),
    ],
)
def test_nesting_is_limited(make, allowed):
    d = ts.Dictionary()
    d["k"] = make(allowed)
    assert d.label("k") in ("vector", "dictionary")
    for too_deep in (make(allowed + 1), make(100_000)):
        with pytest.raises(ValueError, match="nest more than 1000"):
            d["other"] = too_deep
    assert "other" not in d
    try:
        repr(d)  # deep enough for Python's own recursion limit, which must stay an exception
    except RecursionError:
        pass


def test_values_that_contain_themselves_are_refused():
    loop = [1]
    loop.append(loop)
    mapping = {}
    mapping["self"] = mapping
    for value in (loop, mapping):
        with pytest.raises(ValueError):
            ts.Dictionary()["k"] = value


def test_nesting_through_views_is_limited():
    d = ts.Dictionary()
    current = d
    with pytest.raises(ValueError):
        for _ in range(1100):
            current["x"] = {}
            current = current["x"]
    deep = d.copy()
    with pytest.raises(ValueError):
        current = d
        for _ in range(500):
            current = current["x"]
        current["graft"] = deep  # fits nowhere near the bottom of a tree this deep


def test_values_read_back_exactly():
    values = [0.1, -0.0, math.inf, 1e-310, 2**53 + 1, -1]
    d = ts.Dictionary({"v": values})
    back = d["v"]
    assert back == values and math.copysign(1, back[1]) == -1
