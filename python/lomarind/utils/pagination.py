"""The next-page hint shared by every paginated answer."""

from lomarind import _lomarind

add_pagination_hint = _lomarind.filters.add_pagination_hint
