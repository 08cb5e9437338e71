"""Languages by file extension, and which of them count as source code."""

from lomarind import _lomarind

SOURCE_LANGUAGES = _lomarind.filters.SOURCE_LANGUAGES
is_source_extension = _lomarind.filters.is_source_extension
language_of = _lomarind.filters.language_of
