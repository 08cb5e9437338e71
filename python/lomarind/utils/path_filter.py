"""Path rules: test files, and folders of build output, dependencies or caches."""

from lomarind import _lomarind

is_test_path = _lomarind.filters.is_test_path
should_skip_path = _lomarind.filters.should_skip_path
