// Holds nothing: the target exists for its precompiled header.
