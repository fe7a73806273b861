"""quil-plot: a figure of a motion trace with what the library reported on it."""
