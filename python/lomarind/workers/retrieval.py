"""The retrieval worker's symbol kinds."""

from lomarind import _lomarind

RETRIEVABLE_KINDS = _lomarind.filters.RETRIEVABLE_KINDS
