// The targets of the precompiled headers need a source.
