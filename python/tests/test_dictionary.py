"""Dictionary as a Python mapping: protocol, order, copies, equality and nested views."""

import collections.abc
import copy
import gc
import itertools

import pytest

import tsdictionary as ts

_fresh = itertools.count()


def fresh_keys(n):
    """Key texts no test has used before, interned in the order returned."""
    keys = [f"key-{next(_fresh)}-{i}" for i in range(n)]
    for key in keys:
        ts.Dictionary({key: 0})
    return keys


def test_mapping_protocol():
    d = ts.Dictionary({"width": 1920, "name": "intro"})
    assert isinstance(d, collections.abc.MutableMapping)
    assert len(d) == 2 and "width" in d and "height" not in d and 5 not in d
    d["height"] = 1080
    del d["name"]
    assert sorted(d) == ["height", "width"]
    assert dict(d.items()) == {"width": 1920, "height": 1080}
    assert set(d.keys()) == {"width", "height"} and sorted(d.values()) == [1080, 1920]
    assert d.get("missing", "fallback") == "fallback" and d.setdefault("fps", 25) == 25
    d.update({"fps": 50}, depth=8)
    assert (d["fps"], d["depth"]) == (50, 8)
    assert d.pop("depth") == 8 and d.pop("depth", None) is None
    key, value = d.popitem()
    assert key not in d and value is not None
    d.clear()
    assert len(d) == 0 and list(d) == []
    with pytest.raises(KeyError):
        d.popitem()


@pytest.mark.parametrize(
    "key",
    [
        "missing",
        3,  # a key that is no str is simply not there
        "\ud800",  # a lone surrogate that no text of ours can hold
        None,
    ],
)
def test_missing_keys_raise_key_error(key):
    d = ts.Dictionary({"a": 1})
    with pytest.raises(KeyError):
        d[key]
    with pytest.raises(KeyError):
        del d[key]
    assert key not in d and d.get(key) is None


@pytest.mark.parametrize("key", [3, None, ("a",), b"bytes"])
def test_keys_must_be_str_when_written(key):
    d = ts.Dictionary()
    with pytest.raises(TypeError, match="keys are str"):
        d[key] = 1
    with pytest.raises(TypeError):
        ts.Dictionary({key: 1})
    assert len(d) == 0


def test_iteration_follows_first_use_of_key_texts():
    first, second, third = fresh_keys(3)
    d = ts.Dictionary()
    for key in (third, first, second):
        d[key] = key
    assert list(d) == [first, second, third]
    assert [v for _, v in d.items()] == [first, second, third]


def test_iteration_walks_a_snapshot_of_the_keys():
    d = ts.Dictionary({"a": 1, "b": 2, "c": 3})
    seen = []
    for key in d:
        seen.append(key)
        d.clear()
    assert sorted(seen) == ["a", "b", "c"] and len(d) == 0


def test_equality_is_the_library_s():
    d = ts.Dictionary({"w": 1})
    typed = ts.Dictionary()
    typed.set_typed("w", 1, "int32")
    assert d == ts.Dictionary({"w": 1}) and d == d.copy()
    assert d != typed  # int64 1 and int32 1 are different values
    assert d != {"w": 1}  # a dict is no Dictionary
    assert ts.Dictionary({"tb": ts.TimeBase(25, 1)}) == ts.Dictionary({"tb": ts.TimeBase(50, 2)})
    with pytest.raises(TypeError):
        hash(d)


@pytest.mark.parametrize("make_copy", [ts.Dictionary.copy, copy.copy, copy.deepcopy, ts.Dictionary])
def test_copies_are_deep(make_copy):
    d = ts.Dictionary({"source": {"file": "a.mov"}, "list": [1, {"x": 1}]})
    c = make_copy(d)
    c["source"]["file"] = "b.mov"
    c["new"] = 1
    assert d["source"]["file"] == "a.mov" and "new" not in d
    assert c == ts.Dictionary({"source": {"file": "b.mov"}, "list": [1, {"x": 1}], "new": 1})


def test_nested_dictionaries_write_through_to_the_parent():
    d = ts.Dictionary({"source": {"file": "a.mov", "clip": {"in": 0}}})
    d["source"]["file"] = "x"
    d["source"]["clip"]["in"] = 12
    source = d["source"]
    source["fresh"] = True
    assert d["source"] == ts.Dictionary({"file": "x", "clip": {"in": 12}, "fresh": True})
    assert d.label("source") == "dictionary"


def test_nested_view_keeps_its_root_alive():
    child = ts.Dictionary({"a": {"b": {"c": 1}}})["a"]["b"]
    gc.collect()
    child["c"] = 2
    assert child["c"] == 2 and dict(child) == {"c": 2}


@pytest.mark.parametrize(
    "change, error, key_path",
    [
        (lambda d: d.__delitem__("a"), ts.PathError, "a"),
        (lambda d: d["a"].__delitem__("b"), ts.PathError, "a/b"),
        (lambda d: d.clear(), ts.PathError, "a"),
        (lambda d: d.pop("a"), ts.PathError, "a"),
        (lambda d: (d.__delitem__("a"), d.__setitem__("a", 5)), ts.DereferenceError, "a"),
    ],
)
def test_a_view_whose_entry_is_gone_raises(change, error, key_path):
    d = ts.Dictionary({"a": {"b": {"c": 1}}})
    view = d["a"]["b"]
    change(d)
    for use in (lambda: view["c"], lambda: len(view), lambda: view.__setitem__("c", 1), lambda: list(view)):
        with pytest.raises(error) as caught:
            use()
        assert caught.value.items["KeyPath"] == key_path


def test_a_view_follows_a_replaced_dictionary_entry():
    d = ts.Dictionary({"a": {"old": 1}})
    view = d["a"]
    d["a"] = {"new": 2}  # same type: the entry's content is replaced
    assert dict(view) == {"new": 2}
    with pytest.raises(ts.CastError):
        d["a"] = 5  # an entry keeps its type
    assert dict(view) == {"new": 2}


def test_script_code_run_during_a_call_cannot_pull_the_tree_away():
    d = ts.Dictionary({"a": {"x": 1}})
    view = d["a"]

    class KeyThatClears(str):
        def __hash__(self):  # a lookup must not run this
            d.clear()
            return 0

    class MappingThatRemovesItsTarget(collections.abc.Mapping):
        def __getitem__(self, key):
            return 1

        def __iter__(self):
            return iter(["k"])

        def __len__(self):
            return 1

        def items(self):
            del d["a"]  # runs while the value is converted, before the entry is looked up
            return [("k", 1)]

    assert view[KeyThatClears("x")] == 1 and "a" in d
    with pytest.raises(ts.PathError):
        view["new"] = MappingThatRemovesItsTarget()
    assert "a" not in d


def test_popped_dictionaries_are_detached_copies():
    d = ts.Dictionary({"a": {"b": 1}, "c": {"d": 2}})
    popped = d.pop("a")
    popped["b"] = 5
    key, item = d.popitem()
    assert (key, dict(item)) == ("c", {"d": 2}) and len(d) == 0 and popped["b"] == 5


def test_self_assignment_copies():
    d = ts.Dictionary({"a": 1})
    d["self"] = d
    d["self"]["a"] = 2
    assert d["a"] == 1 and d["self"]["a"] == 2 and "self" not in d["self"]


def test_repr_shows_the_entries():
    assert repr(ts.Dictionary({"a": [1, "x"], "b": {"c": None}})) == (
        "Dictionary({'a': [1, 'x'], 'b': Dictionary({'c': None})})"
    )


def test_objects_without_init_cannot_be_made():
    for cls in (ts.Dictionary, ts.TimeBase):
        with pytest.raises(TypeError):
            cls.__new__(cls)

    class Careless(ts.Dictionary):
        def __init__(self):
            pass

    with pytest.raises(TypeError, match="__init__"):
        Careless()
    d = ts.Dictionary({"a": 1})
    d.__init__({"b": 2})  # a second __init__ changes nothing
    assert dict(d) == {"a": 1}


def test_subclasses_use_the_same_mapping():
    class Clip(ts.Dictionary):
        pass

    clip = Clip({"w": 1})
    clip["w"] = 2.9
    assert clip["w"] == 2 and len(clip) == 1 and "w" in clip
