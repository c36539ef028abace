// The base of a settings page in a notebook.
