"""The exception that carries a failed precondition of the C++ library."""


class PreconditionError(ValueError):
    """A precondition of the C++ library did not hold (its assertion exception).

    Attributes: ``expression``, the asserted expression's text exactly as the library states it;
    ``file`` and ``line``, the assertion's identity (the source name and the fixed number the
    library gives each assertion). ``str()`` reads ``"file:line: Assertion failed: expression"``.
    """

    def __init__(self, expression, file, line):
        self.expression = expression
        self.file = file
        self.line = line
        super().__init__(f"{file}:{line}: Assertion failed: {expression}")

    def __reduce__(self):
        return (type(self), (self.expression, self.file, self.line))
