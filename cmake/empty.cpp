// The shared library is the whole static core; this file only gives the target a source.
