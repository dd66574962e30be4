"""The mistakes that are known to change nothing, each with its reason."""


class Harmless:
    """A file of paragraphs: the path of a source, the lines of the mistake as it is shown, and the reason."""

    def __init__(self, path):
        self._reasons = {}
        for paragraph in path.read_text().strip().split("\n\n"):
            source, *lines = paragraph.split("\n")
            change = [line for line in lines if line[0] in " -+"]
            key = (source, *(line[0] + line[1:].strip() for line in change))
            self._reasons[key] = " ".join(lines[len(change) :])

    def reason(self, mistake):
        return self._reasons.get(mistake.key())

    def outdated(self, mistakes):
        """What is listed but cannot be made any more: the source has changed there."""
        possible = {mistake.key() for mistake in mistakes}
        return [key for key in self._reasons if key not in possible]
