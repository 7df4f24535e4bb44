// Nothing: the target needs a source for the precompiled header to be made with.
