"""What functions take, for annotations."""

from typing import TYPE_CHECKING, Optional, Sequence, Tuple, Union

import numpy as np

if TYPE_CHECKING:
    from ._images import Image
    from .tiles import Tiled

#: An image: an array of (h, w), (h, w, c) or with planes=True (c, h, w), or what describes one.
AnyImage = Union[np.ndarray, "Image", "Tiled"]
#: A bool array (h, w), or an Image of packed bits.
Mask = Union[np.ndarray, "Image"]
#: Channel of interest, counted from 0; negative from the last.
Channel = Optional[int]
#: "replicate", "reflect", "wrap", a constant, or four of these: top, bottom, left, right.
Rule = Union[str, float]
Border = Union[Rule, Tuple[Rule, Rule, Rule, Rule], None]
#: (x, y), columns first.
Pair = Union[int, Sequence[int]]
Constant = Union[int, float]
