import os

from processing.core.ProcessingConfig import ProcessingConfig, Setting
from qgis.core import QgsProcessingProvider
from qgis.PyQt.QtGui import QIcon

from . import command
from .algorithms import CheckPair, MakeVirtual, Sharpen


class Provider(QgsProcessingProvider):
    def id(self):
        return "pansharp"

    def name(self):
        return "Pansharp"

    def icon(self):
        return QIcon(self.svgIconPath())

    def svgIconPath(self):
        return os.path.join(os.path.dirname(__file__), "icon.svg")

    def load(self):
        ProcessingConfig.settingIcons[self.name()] = self.icon()
        ProcessingConfig.addSetting(Setting(self.name(), command.SETTING, "Program pansharp, if it is not on the search path", "",
                                            valuetype=Setting.FILE))
        ProcessingConfig.readSettings()
        self.refreshAlgorithms()
        return True

    def unload(self):
        ProcessingConfig.removeSetting(command.SETTING)

    def loadAlgorithms(self):
        for algorithm in (Sharpen, MakeVirtual, CheckPair):
            self.addAlgorithm(algorithm())
