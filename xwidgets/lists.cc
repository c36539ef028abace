// List and combo controls.
