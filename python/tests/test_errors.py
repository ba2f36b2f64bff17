"""Library exceptions as Python exceptions: one class each, the filled message, the report."""

import pytest

import tsdictionary as ts


def typed(label, value):
    d = ts.Dictionary()
    d.set_typed("k", value, label)
    return d


def stale_view_retyped():
    d = ts.Dictionary({"a": {}})
    view = d["a"]
    del d["a"]
    d["a"] = 5
    len(view)


ROWS = [
    # (what fails, class raised, library class, start of the filled message)
    (lambda: typed("int32", 1).__setitem__("k", None), ts.NullError, "AnyNullException",
     "Attempted to access an empty dictionary entry."),
    (stale_view_retyped, ts.DereferenceError, "AnyDereferenceException",
     "Can't make dictionary entry of type 'long long' be of type 'Tessel::Dictionary::Dictionary'."),
    (lambda: typed("nope", 1), ts.UnknownTypeError, "AnyUnknownTypeException",
     "Don't know how to handle type 'nope' in a Dictionary."),
    (lambda: typed("int64", 1).__setitem__("k", [1]), ts.CastError, "AnyCastException",
     "Don't know how to cast dictionary entry from type 'std::vector<"),
    (lambda: ts.Dictionary({"a": [1]}).at_path("a/3"), ts.PathError, "AnyPathException",
     "Nothing at key path 'a/3': index 3 is past the end of a vector of 1 values."),
    (lambda: ts.Dictionary().parse("k", "300", "int8"), ts.ParseError, "AnyParseException",
     "Can't read '300' as int8: "),
    (lambda: typed("int32", 1).assign_exact("k", 0.5), ts.InexactConversionError,
     "AnyInexactConversionException", "Can't store the value '0.5' of type 'double' as type 'int' without"),
    (lambda: ts.from_json('{"a": 1,}'), ts.JsonError, "JsonException", "JSON error at line 1, column 9"),
    (lambda: ts.TimeBase(30, 1).timecode_frame("00:00:00;00"), ts.TimecodeError, "TimecodeException",
     "Can't convert '00:00:00;00' at frame rate 30/1 to or from timecode: "),
    (lambda: typed("dictionary", {}).exact_text("k"), ts.UnimplementedError, "NotImplemented",
     "Unimplemented code path."),
    (lambda: ts.Dictionary().exact_text("missing"), KeyError, None, "'missing'"),
]


@pytest.mark.parametrize("fail, error, library_class, message", ROWS)
def test_each_library_exception_has_its_class(fail, error, library_class, message):
    with pytest.raises(error) as caught:
        fail()
    e = caught.value
    assert str(e).startswith(message)
    if library_class is None:
        return
    assert isinstance(e, ts.Error) and type(e) is error
    assert e.items["ExceptionClass"].endswith("::" + library_class)
    assert isinstance(e.items["ThrowLine"], int)
    assert "EXCEPTION REPORT" in e.report and str(e) in e.report


@pytest.mark.parametrize(
    "error, bases",
    [
        (ts.AnyError, (ts.Error,)),
        (ts.NullError, (ts.AnyError,)),
        (ts.CastError, (ts.AnyError,)),
        (ts.PathError, (ts.AnyError,)),
        (ts.TimecodeError, (ts.Error,)),
        (ts.UnimplementedError, (ts.Error, NotImplementedError)),
    ],
)
def test_hierarchy(error, bases):
    assert error.__bases__ == bases and error.__module__ == "tsdictionary"


def test_error_raised_inside_python_code_keeps_its_items():
    d = ts.Dictionary({"a": {"b": 1}})
    view = d["a"]
    d.clear()
    with pytest.raises(ts.PathError) as caught:
        dict(view.items())
    assert caught.value.items["KeyPath"] == "a"
    assert caught.value.items["ThrowFile"] == "python/src/tspydictionary.cpp"
