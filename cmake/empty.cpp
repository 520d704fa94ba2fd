// Stands in for the sources of a library that has only headers so far.
