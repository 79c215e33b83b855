# SPDX-License-Identifier: LGPL-2.1-or-later
"""The options of a script."""

import argparse


class Options(argparse.ArgumentParser):
    """Reports a wrong use in one line."""

    def error(self, message):
        self.exit(2, f"{self.prog}: {message}\n")
