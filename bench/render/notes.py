"""The notes of the workload, as the rivals and the model take them."""
import csv
import os

SESSION_RATE = 48000
EXCERPT = 60  # seconds, of the notes for the rivals that cannot do them all


class Note:
    """A note: where it begins (frames), its sample, how fast it plays, its level a side."""

    def __init__(self, folder, row):
        self.frame = int(row["frame"])
        self.path = os.path.join(folder, row["sample"])
        self.sample_rate = int(row["rate"])
        self.channels = int(row["channels"])
        self.sample_frames = int(row["sample_frames"])
        self.pitch = int(row["pitch"])
        self.speed = 2 ** (self.pitch / 12)
        self.step = self.speed * self.sample_rate / SESSION_RATE  # sample frames a frame
        self.frames = int(self.sample_frames / self.step) + 1
        gain, pan = 10 ** (float(row["gain"]) / 20), float(row["pan"])
        self.left, self.right = gain * (1 - pan), gain * (1 + pan)

    def is_in_excerpt(self):
        return self.frame + self.frames <= EXCERPT * SESSION_RATE


def read_notes(folder):
    with open(os.path.join(folder, "notes.csv"), newline="") as f:
        return [Note(folder, row) for row in csv.DictReader(f)]
