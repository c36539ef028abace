// The pop-up help balloon and the drawing area.
