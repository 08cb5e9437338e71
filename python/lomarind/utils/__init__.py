"""Helpers of the lomarind package: the git reader, filters and pagination."""
