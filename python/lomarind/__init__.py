"""lomarind: answers about a git repository's history for a code index."""
