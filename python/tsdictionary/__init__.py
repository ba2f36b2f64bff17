"""Values and dictionaries that keep their types.

    import tsdictionary as ts
    d = ts.Dictionary({"width": 1920})
    d.set_typed("height", 1080, "int32")
    d["height"] = 2048.7          # keeps int32: 2048
    print(d.label("height"), d["height"])
"""

from . import _tsdictionary
from ._tsdictionary import *  # noqa: F401,F403

__all__ = [name for name in dir(_tsdictionary) if not name.startswith("_")]
