"""Counts what held and what did not, and says which; and what was not looked at."""


class Report:
    def __init__(self):
        self.passed = 0
        self.failed = 0
        self.open = []

    def title(self, text):
        print(f"\n{text}", flush=True)

    def check(self, what, holds, detail=""):
        if holds:
            self.passed += 1
            print(f"  ok    {what}", flush=True)
        else:
            self.failed += 1
            print(f"  FAIL  {what}" + (f": {detail}" if detail != "" else ""), flush=True)
        return holds

    def equal(self, what, got, expected):
        if got == expected:
            return self.check(what, True)
        return self.check(what, False, f"\n        got      {got!r}\n        expected {expected!r}")

    def notRun(self, titles):
        self.open += [f"not run: {title}" for title in titles]

    def unproven(self, facts):
        self.open += facts

    def summary(self):
        print("\nNot proved by this run:")
        for what in self.open:
            print(f"  - {what}")
        print(f"\n{self.passed} passed, {self.failed} failed, {len(self.open)} not proved", flush=True)
        return 1 if self.failed else 0


report = Report()
