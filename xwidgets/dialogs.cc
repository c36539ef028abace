// Modal dialogs, the message box, the colour and font pickers.
