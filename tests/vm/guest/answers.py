"""What was asked in a guest, and what was answered."""

import json


class Answers:
    """`files` are the results by name, such as "root/lsblk.out"."""

    def __init__(self, files, folder, has_udev):
        self._files = files
        self.has_udev = has_udev
        self.failure = files.get("failure", "").strip()
        for name, text in files.items():
            path = folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")

    def text(self, name, user="root"):
        """What a program wrote to its standard output."""
        return self._files[f"{user}/{name}.out"]

    def errors(self, name, user="root"):
        return self._files[f"{user}/{name}.err"]

    def status(self, name, user="root"):
        return int(self._files[f"{user}/{name}.status"])

    def json(self, name, user="root"):
        text = self.text(name, user)
        assert text, f"{name} said nothing as {user}: {self.errors(name, user)}"
        return json.loads(text)
