"""The three algorithms. Each offers the command's options as a form, and runs the command."""

import html
import os

from osgeo import gdal
from qgis.core import (QgsProcessingAlgorithm, QgsProcessingContext, QgsProcessingException, QgsProcessingOutputRasterLayer,
                       QgsProcessingParameterBoolean, QgsProcessingParameterFileDestination, QgsProcessingParameterRasterDestination)
from qgis.PyQt.QtGui import QIcon

from . import command, pages, parameters


class Algorithm(QgsProcessingAlgorithm):
    """The common base: inputs, options from the command's own table, failures, help."""

    key = title = page = about = ""
    used = ()  # the commands whose options are offered

    def name(self):
        return self.key

    def displayName(self):
        return self.title

    def createInstance(self):
        return type(self)()

    def icon(self):
        return QIcon(os.path.join(os.path.dirname(__file__), "icon.svg"))

    def tags(self):
        return ["pansharpening", "pan-sharpening", "panchromatic", "multispectral", "fusion", "raster"]

    def helpUrl(self):
        return pages.address(self.page)

    def entries(self):
        known = command.commands()
        try:
            return [known[name] for name in self.used]
        except KeyError as missing:
            raise command.Missing(f"The command pansharp is too old: it has no {missing}. Install the version that this plug-in came "
                                  "with.") from None

    def canExecute(self):
        try:
            self.entries()
        except command.Missing as reason:
            return False, str(reason)
        return True, ""

    def shortHelpString(self):
        try:
            options = parameters.offered(*self.entries())
        except command.Missing as reason:
            return f"<p><b>{html.escape(str(reason))}</b></p>"
        rows = "".join(f"<p><b>{html.escape(option['name'][2:])}</b>: {html.escape(parameters.help_of(option))}</p>" for option in options)
        return f"<p>{html.escape(self.about)}</p>{rows}"

    def initAlgorithm(self, configuration=None):
        for parameter in parameters.inputs():
            self.addParameter(parameter)
        self.add_own()
        try:
            options = parameters.offered(*self.entries())
        except command.Missing:
            return  # canExecute reports it
        for option in options:
            for parameter in parameters.of_option(option):
                self.addParameter(parameter)

    def processAlgorithm(self, given, context, feedback):
        try:
            return self.process(given, context, feedback)
        except (command.Missing, command.Failed) as reason:
            raise QgsProcessingException("Cancelled; nothing was written." if feedback.isCanceled() else str(reason)) from None

    def sharpen(self, given, output, context, feedback):
        """Writes a new file of any kind."""
        choice = parameters.Choice(self, given, context, feedback)
        arguments = ["sharpen", *choice.options(self.entries()[0]), "-o", output, "--overwrite", "--", *choice.files()]
        for line in command.run(arguments, feedback).splitlines():
            feedback.pushInfo(line)


class Sharpen(Algorithm):
    key, title, page, used = "sharpen", "Sharpen", "commands/sharpen", ("sharpen",)
    about = ("Fuses a sharp panchromatic layer with a coarser multispectral one of the same scene. The result has the pixels of the first "
             "and the bands of the second.")

    def add_own(self):
        self.addParameter(QgsProcessingParameterRasterDestination("OUTPUT", "Sharpened"))

    def process(self, given, context, feedback):
        output = self.parameterAsOutputLayer(given, "OUTPUT", context)
        self.sharpen(given, output, context, feedback)
        return {"OUTPUT": output}


class MakeVirtual(Algorithm):
    key, title, page, used = "virtual", "Make virtual", "scene-file", ("open",)
    about = ("Describes a sharpened scene in a small .pansharp file and adds it to the map. The file has no pixels: they are fused when the map "
             "shows them. It needs the images, which stay where they are.")

    def add_own(self):
        self.addParameter(QgsProcessingParameterFileDestination("OUTPUT", "Scene", "Pansharp scenes (*.pansharp)"))
        self.addOutput(QgsProcessingOutputRasterLayer("LAYER", "The scene as a layer"))

    def process(self, given, context, feedback):
        output = self.parameterAsFileOutput(given, "OUTPUT", context)
        if not output.endswith(".pansharp"):
            output = f"{os.path.splitext(output)[0]}.pansharp"
        self.sharpen(given, output, context, feedback)
        if gdal.GetDriverByName("PANSHARP") is None:
            feedback.pushWarning("The scene is written, but QGIS cannot show it: its GDAL lacks the driver PANSHARP. Install the package "
                                 "pansharp. With your own build, start QGIS with GDAL_DRIVER_PATH set to its folder gdalplugins.")
        elif context.project():
            name = os.path.splitext(os.path.basename(output))[0]
            context.addLayerToLoadOnCompletion(output, QgsProcessingContext.LayerDetails(name, context.project(), "LAYER"))
        return {"OUTPUT": output, "LAYER": output}


class CheckPair(Algorithm):
    key, title, page, used = "check", "Check a pair", "pairs", ("info", "compare")
    about = ("Says in a report whether two layers fit together and how they would be fused, and tries every method one scale down, where "
             "the truth is known.")

    def add_own(self):
        self.addParameter(QgsProcessingParameterBoolean("COMPARE", "Also compare the methods", defaultValue=True))
        self.addParameter(QgsProcessingParameterFileDestination("OUTPUT", "Report", "HTML files (*.html)"))

    def process(self, given, context, feedback):
        choice = parameters.Choice(self, given, context, feedback)
        wanted = [("info", "Does the pair fit?")]
        if self.parameterAsBool(given, "COMPARE", context):
            wanted.append(("compare", "Which method suits it?"))
        entries = {entry["name"]: entry for entry in self.entries()}
        parts = []
        for done, (name, title) in enumerate(wanted):
            text = command.run([name, *choice.options(entries[name]), "--", *choice.files()], feedback)
            parts.append(f"<h2>{title}</h2>\n<pre>{html.escape(text)}</pre>\n")
            feedback.setProgress(100 * (done + 1) / len(wanted))
        output = self.parameterAsFileOutput(given, "OUTPUT", context)
        named = ", ".join(html.escape(file) for file in choice.files())
        with open(output, "w", encoding="utf-8") as report:
            report.write("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>A pair, checked</title>\n"
                         "<style>body { font-family: sans-serif; margin: 2em; } pre { font-family: monospace; }</style></head>\n"
                         f"<body><h1>A pair, checked</h1>\n<p>{named}</p>\n{''.join(parts)}</body></html>\n")
        return {"OUTPUT": output}
