// Nothing: its target makes the precompiled headers that tests use.
