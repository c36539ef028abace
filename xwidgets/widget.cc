// The root of the widget classes and the top-level window.
