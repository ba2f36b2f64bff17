"""Signatures from Python: sign() of bytes-like data and the signature of a dictionary."""

import threading

import pytest

import tsdictionary as ts


def pattern(n):
    """The check-value message of the C++ engine tests: byte i is (i * 7 + n) mod 256."""
    return bytes((i * 7 + n) % 256 for i in range(n))


@pytest.mark.parametrize(
    "data, digest",
    [
        (b"abc", "bc92c7943ebfa32889b279161fede6b364f9c504434a84fa1d12f52127ef5487"),
        (pattern(0), "bc2763f707e262b80e0313791543a7ab0a4b6cd083270afb2fce4272e1bb0aa9"),
        (pattern(1000), "d623a2c88fc13fd268978faabe7efa4fb82446f55eb69baa5e9bc9efcea3a03a"),
        # Large enough to be hashed with the GIL released; digests from the C++ engine.
        (pattern(65536), "e76f5393962e8a7be5ce18b82459c937b6e3a8d3d92f18fdac96109dd4f5d08d"),
        (pattern(100000), "66f646a87cbb870e2115ff54481c9187b8c01bc48c3fe20ac3db8ac1d97577e3"),
    ],
)
def test_sign_matches_the_engine(data, digest):
    for form in (data, bytearray(data), memoryview(data)):
        assert ts.sign(form) == digest


@pytest.mark.parametrize("data, error", [("text", TypeError), (None, TypeError),
                                         (memoryview(b"abcd")[::2], BufferError)])
def test_sign_takes_contiguous_bytes_only(data, error):
    with pytest.raises(error):
        ts.sign(data)


def test_dictionary_signature_is_the_documented_feed():
    # "(", then per entry its key, its label and the value's little-endian bytes, "|", then ")";
    # an empty entry feeds only its key and "|". Entries come in the order of first use of keys.
    ts.Dictionary({"sig-width": 0})
    ts.Dictionary({"sig-empty": 0})
    d = ts.Dictionary({"sig-empty": None})
    d.set_typed("sig-width", 2048, "int32")
    assert d.signature() == ts.sign(b"(sig-widthint32" + (2048).to_bytes(4, "little") + b"|sig-empty|)")


def test_dictionaries_being_signed_refuse_changes():
    d = ts.Dictionary({f"k{i}": i for i in range(20000)})
    expected = {d.signature()}
    d["k0"] = -1
    expected.add(d.signature())
    results, refused = [], []

    def sign_repeatedly():
        for _ in range(50):
            results.append(d.signature())

    thread = threading.Thread(target=sign_repeatedly)
    thread.start()
    while thread.is_alive():
        try:
            d["k0"] = -1 - d["k0"]  # toggles between the two signed states
        except RuntimeError:
            refused.append(True)  # the signing thread reads the tree right now
    thread.join()
    assert set(results) <= expected and len(results) == 50
    assert refused, "no write was refused while another thread signed"


# Encodings printed by core/dictionary/tests/canonical_model.py, an independent model of the
# canonical byte encoding; the values are built from plain Python objects.
FRAME_SIZE = "010e0206686569676874070438040000057769647468070480070000"
NESTED = ("010e0401610e000261620f00017a0f02000e01016210101900000000000000010000000000000002c3a90dc801"
          + "78" * 200)


def frame_size():
    d = ts.Dictionary()
    d.set_typed("width", 1920, "int32")
    d.set_typed("height", 1080, "int32")
    return d


@pytest.mark.parametrize(
    "make, encoding",
    [
        (frame_size, FRAME_SIZE),
        (lambda: frame_size().copy(), FRAME_SIZE),
        (lambda: {"z": [None, {"b": ts.TimeBase(25, 1)}], "\u00e9": "x" * 200, "a": {}, "ab": []}, NESTED),
        (lambda: ts.Dictionary({"z": [None, {"b": ts.TimeBase(25, 1)}], "\u00e9": "x" * 200, "a": {}, "ab": []}),
         NESTED),
        (lambda: ts.Dictionary({"inner": {"z": [None, {"b": ts.TimeBase(25, 1)}], "\u00e9": "x" * 200,
                                          "a": {}, "ab": []}})["inner"], NESTED),
        (lambda: None, "0100"),
    ],
)
def test_canonical_signature_matches_the_model(make, encoding):
    assert ts.canonical_signature(make()) == ts.sign(bytes.fromhex(encoding))


@pytest.mark.parametrize(
    "a, b, same",
    [
        (ts.TimeBase(25, 1), ts.TimeBase(50, 2), False),  # equal rates, different content
        (0.0, -0.0, False),
        (1, 1.0, False),  # int64 and double
        ({"a": 1, "b": 2}, {"b": 2, "a": 1}, True),
    ],
)
def test_canonical_signature_tells_content_apart(a, b, same):
    assert (ts.canonical_signature(a) == ts.canonical_signature(b)) is same


def test_canonical_signature_of_a_stale_view_raises():
    d = ts.Dictionary({"a": {}})
    view = d["a"]
    del d["a"]
    with pytest.raises(ts.PathError):
        ts.canonical_signature(view)
