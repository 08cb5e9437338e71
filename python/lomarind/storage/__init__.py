"""The index: one SQLite file holding each tracked file's language, component and symbols."""

import logging

from lomarind import _lomarind

logger = logging.getLogger(__name__)


def open_index(path):
    """The database handle of the index file at `path`, for Repository(db).

    A missing file is an empty index: the answers still work, without
    languages, components or symbols, and a warning on this module's logger
    says so. A file that is not a lomarind index raises
    repository_changes.IndexFileError.
    """
    db = _lomarind.storage.open_index(path)
    if db.empty:
        logger.warning("No index at %s, so languages, components and symbols are unknown; "
                       "run 'lomarind index' to build one", path)
    return db
