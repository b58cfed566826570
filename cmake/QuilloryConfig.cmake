# find_package(Quillory) defines Quillory::ds_graphics, Quillory::inflate, Quillory::png_surface, the header
# for C as Quillory::surface_reader, the converter Quillory::pngslab, the companion Quillory::slabtool if it is
# installed, and quillory_add_surfaces().
include("${CMAKE_CURRENT_LIST_DIR}/QuilloryTargets.cmake")
include("${CMAKE_CURRENT_LIST_DIR}/QuillorySlabtoolTargets.cmake" OPTIONAL)
include("${CMAKE_CURRENT_LIST_DIR}/QuilloryAddSurfaces.cmake")
