"""moxsdk: polygon meshes with numpy arrays in and out.

    import moxsdk
    mesh = moxsdk.Mesh.from_arrays(points, polygons)
    mesh.build_edges()
    mesh.generate_normals()
    normals = mesh.normals            # (P, 3), one per polygon vertex

    report = moxsdk.process_file("in.obj", "out.glb", tangents=True)

Reports of the library arrive as warnings of class MeshWarning; wrong arguments raise ValueError or
IndexError before the mesh changes; files that cannot be read or written raise MeshFileError.
moxsdk.batch.process_files runs process_file over many files, locally or on a Dask cluster.
"""

from ._moxsdk import Mesh, MeshFileError, MeshWarning, process_file, read, write

__all__ = ["Mesh", "MeshFileError", "MeshWarning", "process_file", "read", "write"]
