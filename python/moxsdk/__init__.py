"""moxsdk: polygon meshes with numpy arrays in and out.

    import moxsdk
    mesh = moxsdk.Mesh.from_arrays(points, polygons)
    mesh.build_edges()
    mesh.generate_normals()
    normals = mesh.normals            # (P, 3), one per polygon vertex

Reports of the library arrive as warnings of class MeshWarning; wrong arguments raise ValueError or
IndexError before the mesh changes.
"""

from ._moxsdk import Mesh, MeshWarning

__all__ = ["Mesh", "MeshWarning"]
