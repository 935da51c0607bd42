"""The pages of the documentation, in docs/ beside this file, as HTML for the browser."""

import functools
import os
import re

from qgis.core import QgsProcessingUtils
from qgis.PyQt.QtCore import QUrl
from qgis.PyQt.QtGui import QTextDocument

_DOCS = os.path.join(os.path.dirname(__file__), "docs")


@functools.lru_cache(None)
def address(page):
    """The HTML of a page such as "commands/sharpen"; empty if it does not exist."""
    source = os.path.join(_DOCS, f"{page}.md")
    if not os.path.exists(source) or not hasattr(QTextDocument, "setMarkdown"):
        return ""
    with open(source, encoding="utf-8") as file:
        text = re.sub(r"<!--.*?-->\s*", "", file.read(), flags=re.S)
    # A link within the documentation would need the other page too, so only its text is kept.
    text = re.sub(r"!?\[([^\]]*)\]\((?!https?:)[^)]*\)", r"\1", text)
    document = QTextDocument()
    document.setMarkdown(text)
    target = os.path.join(QgsProcessingUtils.tempFolder(), f"pansharp-{page.replace('/', '-')}.html")
    with open(target, "w", encoding="utf-8") as file:
        file.write(document.toHtml().replace("<head>", '<head><meta charset="utf-8">', 1))
    return QUrl.fromLocalFile(target).toString()
