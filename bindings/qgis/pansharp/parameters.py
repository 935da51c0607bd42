"""Options of the command as parameters of Processing, and the chosen values as arguments of the command."""

import json

from qgis.core import (QgsCoordinateReferenceSystem, QgsProcessingException, QgsProcessingParameterBand, QgsProcessingParameterBoolean,
                       QgsProcessingParameterDefinition, QgsProcessingParameterEnum, QgsProcessingParameterExtent,
                       QgsProcessingParameterFile, QgsProcessingParameterMultipleLayers, QgsProcessingParameterNumber,
                       QgsProcessingParameterRasterLayer, QgsProcessingParameterString, QgsProcessing, QgsRasterLayer)

from . import command

# Options that QGIS replaces (outputs, log, questions), and options that show or force the inner workings.
_OTHERWISE = {"--output", "--of", "--json", "--quiet", "--verbose", "--overwrite", "--dry-run", "--preview", "--preview-at", "--keep",
              "--status-xml", "--settings", "--weights-from", "--plugin", "--simd", "--window", "--projwin", "--help"}
_PLAIN = {"--method", "--weights", "--bands", "--rgb", "--resampling", "--bbox", "--extent"}
_ABBREVIATIONS = {"--mtf", "--rgb"}
_BANDS = "--bands"
_BOX = ["XMIN", "YMIN", "XMAX", "YMAX"]
_LAYER_WITH_BAND = "FILE[,band=N]"


def offered(*commands):
    """The options of these commands that become parameters, each once."""
    found = {}
    for entry in commands:
        for option in entry["options"]:
            if option["name"] not in _OTHERWISE:
                found.setdefault(option["name"], option)
    return list(found.values())


def name_of(option):
    return option["name"][2:].replace("-", "_").upper()


def inputs():
    """The parameters for the pair, or a product."""
    yield QgsProcessingParameterRasterLayer("PAN", "Panchromatic layer, or a .pansharp scene", optional=True)
    yield _advanced(QgsProcessingParameterBand("PAN_BAND", "Band of the panchromatic layer", parentLayerParameterName="PAN", optional=True))
    yield QgsProcessingParameterRasterLayer("MS", "Multispectral layer; none for a scene", optional=True)
    yield QgsProcessingParameterMultipleLayers("MORE", "Further multispectral layers, in order", QgsProcessing.TypeRaster, optional=True)
    product = QgsProcessingParameterFile("PRODUCT", "Product, in place of layers", optional=True)
    product.setHelp("a scene as it was delivered: its archive or metadata file, or the name of its folder; the log says what was "
                    "recognised")
    yield product


def _advanced(parameter):
    parameter.setFlags(parameter.flags() | QgsProcessingParameterDefinition.FlagAdvanced)
    return parameter


def of_option(option):
    """The parameters of one option: one, or a layer and its band."""
    name, values = name_of(option), option["values"]
    title = name if option["name"] in _ABBREVIATIONS else name.capitalize().replace("_", " ")
    if option["name"] == _BANDS:
        made = [QgsProcessingParameterBand(name, "Bands to write, of the multispectral layer", parentLayerParameterName="MS",
                                           optional=True, allowMultiple=True)]
    elif values == _BOX:
        made = [QgsProcessingParameterExtent(name, "Extent to fuse", optional=True)]
    elif values == [_LAYER_WITH_BAND]:
        made = [QgsProcessingParameterRasterLayer(name, f"{title} layer", optional=True),
                QgsProcessingParameterBand(f"{name}_BAND", f"Band of the {title.lower()} layer", parentLayerParameterName=name,
                                           optional=True)]
    elif option["type"] == "flag":
        made = [QgsProcessingParameterBoolean(name, title, defaultValue=False, optional=True)]
    elif option["type"] == "choice" and option["choices"]:
        made = [QgsProcessingParameterEnum(name, title, options=option["choices"], optional=True, usesStaticStrings=True)]
    elif option["type"] == "integer":
        made = [QgsProcessingParameterNumber(name, title, QgsProcessingParameterNumber.Integer, optional=True)]
    elif option["type"] in ("file", "folder"):
        behavior = QgsProcessingParameterFile.File if option["type"] == "file" else QgsProcessingParameterFile.Folder
        made = [QgsProcessingParameterFile(name, title, behavior=behavior, optional=True)]
    elif option["repeatable"]:
        made = [QgsProcessingParameterString(name, f"{title} ({' '.join(values)}, one per line)", multiLine=True, optional=True)]
    else:
        made = [QgsProcessingParameterString(name, f"{title} ({' '.join(values)})", optional=True)]
    for parameter in made:
        parameter.setHelp(help_of(option))
        if option["name"] not in _PLAIN:
            _advanced(parameter)
    return made


def help_of(option):
    if option["values"] == _BOX:
        return "fuse only this part; its pixels are the same as in the whole result (default: all of the panchromatic layer)"
    return option["help"] + (f" (default: {option['default']})" if option["default"] else "")


class Choice:
    """The values chosen for a run, as arguments of the command."""

    def __init__(self, algorithm, parameters, context, feedback):
        self.algorithm, self.parameters, self.context, self.feedback = algorithm, parameters, context, feedback
        self.pan = self._layer("PAN")
        self.ms = self._layer("MS")
        self.more = algorithm.parameterAsLayerList(parameters, "MORE", context)
        self.product = algorithm.parameterAsString(parameters, "PRODUCT", context).strip()
        if self.product and (self.pan or self.ms or self.more):
            raise QgsProcessingException("Both layers and a product are given. Leave one of them empty.")
        if self.product.lower().endswith(".pansharp"):
            raise QgsProcessingException("A .pansharp scene is not a product. Choose it as the panchromatic layer.")
        if not (self.product or self.pan):
            raise QgsProcessingException("No input is given. Choose a panchromatic and a multispectral layer, or a product.")

    def _layer(self, name):
        layer = self.algorithm.parameterAsRasterLayer(self.parameters, name, self.context)
        given = self.parameters.get(name)
        if layer is None and given:
            raise QgsProcessingException(f"{name}: '{given}' cannot be opened as a raster; check the name.")
        return layer

    def files(self):
        """The inputs of the command."""
        if self.product:
            return [self.product]
        return [self._file(self.pan, "PAN"), *(self._file(layer) for layer in [self.ms, *self.more] if layer)]

    def _file(self, layer, name=None):
        """The file of a layer, with the band chosen for the parameter of that name."""
        if layer.providerType() != "gdal":
            raise QgsProcessingException(f"The layer '{layer.name()}' is not a file. Save it as a GeoTIFF first (Export, Save As).")
        source = layer.source().split("|option:")[0]
        own = QgsRasterLayer(source, "", "gdal").crs()
        if own != layer.crs():
            self.feedback.pushWarning(f"The layer '{layer.name()}' has another projection in the project ({layer.crs().authid()}) than in "
                                      f"its file ({own.authid() or 'none'}); the file's is used.")
        band = f"{name}_BAND"
        if name and self.parameters.get(band):
            source += f",band={self.algorithm.parameterAsInt(self.parameters, band, self.context)}"
        return source

    def options(self, entry):
        """The arguments for the options of one command."""
        arguments = []
        for option in offered(entry):
            for value in self._values(option):
                arguments.append(option["name"])
                arguments.extend(value)
        return arguments

    def _values(self, option):
        """One list of values for each time that the option is given."""
        name, algorithm, context = name_of(option), self.algorithm, self.context
        if self.parameters.get(name) in (None, "", []):
            return []
        if option["name"] == _BANDS:
            return self._bands(name)
        if option["values"] == _BOX:
            return self._box(name)
        if option["values"] == [_LAYER_WITH_BAND]:
            return [[self._file(self._layer(name), name)]]
        if option["type"] == "flag":
            return [[]] if algorithm.parameterAsBool(self.parameters, name, context) else []
        if option["type"] == "choice" and option["choices"]:
            return [[algorithm.parameterAsEnumString(self.parameters, name, context)]]
        if option["type"] == "integer":
            return [[str(algorithm.parameterAsInt(self.parameters, name, context))]]
        text = algorithm.parameterAsString(self.parameters, name, context).strip()
        if option["repeatable"]:
            return [[line.strip()] for line in text.splitlines() if line.strip()]
        return [text.split() if len(option["values"]) > 1 else [text]] if text else []

    def _bands(self, name):
        """The chosen bands of MS, then all bands of the other layers."""
        bands = self.algorithm.parameterAsInts(self.parameters, name, self.context)
        if self.ms:
            first = self.ms.bandCount() + 1
            bands += range(first, first + sum(layer.bandCount() for layer in self.more))
        return [[",".join(map(str, bands))]] if bands else []

    def _box(self, name):
        """The extent in map units of pan, limited to pan."""
        pan = self.pan or self._pan_of_product()
        crs = pan.crs() if pan.crs().isValid() else QgsCoordinateReferenceSystem()
        box = self.algorithm.parameterAsExtent(self.parameters, name, self.context, crs)
        within = box.intersect(pan.extent())
        if within.isEmpty():
            raise QgsProcessingException(f"The extent {box.toString(2)} does not overlap the panchromatic layer, which covers "
                                         f"{pan.extent().toString(2)}.")
        return [[repr(edge) for edge in (within.xMinimum(), within.yMinimum(), within.xMaximum(), within.yMaximum())]]

    def _pan_of_product(self):
        facts = json.loads(command.run(["info", "--json", "--", self.product], self.feedback))
        return QgsRasterLayer(facts["product"]["pan"]["file"], "", "gdal")
