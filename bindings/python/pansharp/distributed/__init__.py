"""Scenes fused by many processes or machines, with the work distributed by Dask.

    python3 -m pansharp.distributed sharpen scene.pansharp OUT/ --workers 4

One scene is fused in parts. Everything is fitted once and stored in the .pansharp file; workers open the files themselves and write
GeoTIFFs, and a VRT joins them. Of many scenes, each is a task. It needs dask, distributed and GDAL's Python module ``osgeo``.
"""

from ._batch import BatchOutcome, batch
from ._parts import Part, cut
from ._run import Limits
from ._scene import Outcome, sharpen

__all__ = ["BatchOutcome", "Limits", "Outcome", "Part", "batch", "cut", "sharpen"]
