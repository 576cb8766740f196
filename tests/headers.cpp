// A file of its own for the precompiled header of the tests.
