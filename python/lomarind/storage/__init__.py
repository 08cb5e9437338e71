"""The index: one SQLite file holding each tracked file's language, component and symbols."""

from lomarind import _lomarind


def open_index(path):
    """The database handle of the index file at `path`, for Repository(db).

    A missing file is an empty index. A file that is not a lomarind index
    raises repository_changes.IndexFileError.
    """
    return _lomarind.storage.open_index(path)
