// The application object and its main loop.
