"""Scenes fused by many processes, or machines, that Dask hands the work to.

    python3 -m pansharp.distributed sharpen scene.pansharp OUT/ --workers 4

One scene is fused in parts: everything is fitted once and stands in the .pansharp file, workers open the files themselves and each
writes GeoTIFFs, and a VRT lays them together. Many scenes are tasks each. It needs dask, distributed and GDAL's Python module ``osgeo``.
"""

from ._batch import BatchOutcome, batch
from ._parts import Part, cut
from ._run import Limits
from ._scene import Outcome, sharpen

__all__ = ["BatchOutcome", "Limits", "Outcome", "Part", "batch", "cut", "sharpen"]
