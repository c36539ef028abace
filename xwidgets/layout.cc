// Layout containers and passive widgets.
