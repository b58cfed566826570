# What find_package(Quillory) brings: Quillory::ds_graphics, Quillory::inflate, Quillory::png_surface, the header
# for C as Quillory::surface_reader, the converter Quillory::pngslab, and quillory_add_surfaces().
include("${CMAKE_CURRENT_LIST_DIR}/QuilloryTargets.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/QuilloryAddSurfaces.cmake")
