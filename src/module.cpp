// The module's shared library: its code lives in the folder libraries linked whole into it.
