"""The workers of the lomarind package."""
