// Push buttons, toggle buttons, check boxes and radio buttons.
