// Intentionally empty: the link checks need a source file.
