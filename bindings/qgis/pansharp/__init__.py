"""Pan-sharpening in QGIS: a Processing provider over the command pansharp."""


def classFactory(iface):
    from .plugin import Plugin
    return Plugin()
