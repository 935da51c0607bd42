"""Pan-sharpening in QGIS: a Processing provider that runs the command pansharp."""


def classFactory(iface):
    from .plugin import Plugin
    return Plugin()
