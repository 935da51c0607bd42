"""Types of other packages: arrays with a position, and rasterio's command."""

import os
import subprocess

import numpy
import pansharp
import pytest
from scenes import pair, write_pair

PAN, MS = pair()


def placed(array, pixel, left=500, top=900, **attributes):
    """An array as rioxarray opens a file with its upper left corner there."""
    xarray = pytest.importorskip("xarray")
    rows, columns = array.shape[-2:]
    at = {"y": top - pixel * (numpy.arange(rows) + 0.5), "x": left + pixel * (numpy.arange(columns) + 0.5), "spatial_ref": 0}
    return xarray.DataArray(array, at, ("band", "y", "x")[3 - array.ndim:], "scene", attributes)


@pytest.mark.parametrize("method", pansharp.methods())
@pytest.mark.parametrize("chunks", [17, {"x": 50}])
def test_a_lazy_array_has_the_samples_of_an_eager_one(method, chunks):
    dask = pytest.importorskip("dask.array")
    import pansharp.xarray  # noqa: F401
    holed, far = MS.copy(), (slice(20, 80), slice(30, 100))
    holed[1, 10:30, 5:40] = 7
    pan, ms = placed(PAN, 10)[far], placed(holed, 20, _FillValue=7, long_name=("a", "b", "c")).assign_coords(wavelength=("band", [1, 2, 3]))
    pan.spatial_ref.attrs["crs_wkt"], ms.spatial_ref.attrs["crs_wkt"] = 'LOCAL_CS["a", UNIT["metre", 1]]', 'LOCAL_CS["a",UNIT["metre",1]]'
    eager = ms.pansharp.fuse(pan, method, bands=(3, 1))
    whole = pansharp.fuse(PAN[far], numpy.ma.masked_equal(holed, 7), method, nodata=7, pixel_size=2, offset=(15, 10), bands=(3, 1), masked=False)
    assert numpy.array_equal(eager, whole) and (eager == 7).any()
    assert eager.x.equals(pan.x) and list(eager.wavelength) == [3, 1] and eager.attrs == {"_FillValue": 7, "long_name": ("c", "a")}
    for lazy in ms.pansharp.fuse(pan.chunk(chunks), method, bands=iter((3, 1))), ms[:, ::-1].chunk({"x": 13}).pansharp.fuse(pan, method, bands=(3, 1)):
        assert isinstance(lazy.data, dask.Array) and lazy.compute().identical(eager)


@pytest.mark.parametrize("kind, says, pan", [
    (TypeError, "give a DataArray", PAN), (TypeError, "masked=False", placed(PAN / 2, 10)), (ValueError, "axes of pan are called", placed(PAN, 10).T),
    (ValueError, "no coordinates", placed(PAN, 10).drop_vars("x")), (ValueError, "not evenly", placed(PAN, 10)[:, [0, 1, 5]]),
    (ValueError, "two are needed", placed(PAN, 10)[:1]), (ValueError, "correct offset", placed(PAN, 10, left=5000)),
    (TypeError, "'7' for no data", placed(PAN, 10, _FillValue="7")), (ValueError, "3.5 for no data", placed(PAN, 10, _FillValue=3.5))])
def test_refuses_what_does_not_say_where_it_lies(kind, says, pan):
    import pansharp.xarray  # noqa: F401
    with pytest.raises(kind, match=says):
        placed(MS, 20).pansharp.fuse(pan)


def test_rasterios_command_writes_the_bytes_of_the_command(tmp_path):
    command = pytest.importorskip("pansharp._rasterio").command
    testing = pytest.importorskip("click.testing")
    write_pair(tmp_path)
    with pytest.MonkeyPatch.context() as patch:
        patch.chdir(tmp_path)
        typed = ["pan.tif", "ms.tif,band=2", "ms.tif,band=1", "-o", "out.tif", "--co", "COMPRESS=LZW", "--co", "TILED=NO", "--method", "KOVA"]
        subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", "-q", *typed], check=True)
        written = (tmp_path / "out.tif").read_bytes()
        refused = testing.CliRunner(mix_stderr=False).invoke(command, typed)
        assert refused.exit_code == 1 and "(--overwrite)" in refused.stderr
        assert testing.CliRunner().invoke(command, [*typed, "--overwrite"]).exit_code == 0
        assert (tmp_path / "out.tif").read_bytes() == written
