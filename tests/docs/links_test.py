"""The links between documents lead to existing files."""

import os
import re
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
LINK = re.compile(r"\]\((?!https?:)([^)#]+)(?:#[^)]*)?\)")


class Links(unittest.TestCase):
    def test_lead_to_files_that_exist(self):
        for document in [*TREE.glob("*.md"), *TREE.glob("*/*.md")]:
            links = LINK.findall(document.read_text())
            for link in links:
                with self.subTest(document=document.name, link=link):
                    self.assertTrue((document.parent / link).exists())


if __name__ == "__main__":
    unittest.main()
