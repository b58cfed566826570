# The software bill of materials of slabtool: an SPDX 2.3 document that lists the libraries inside the program and those
# that it loads, with the versions of this build.

set(sbom_packages "")
set(sbom_relations "")

# Adds a library. relation: DYNAMIC_LINK if the program loads it, CONTAINS if it consists of headers.
function(sbom_library name version license relation)
  if(NOT version)
    set(version unknown)
  endif()
  string(APPEND sbom_packages ",
    {
      \"SPDXID\": \"SPDXRef-${name}\",
      \"name\": \"${name}\",
      \"versionInfo\": \"${version}\",
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": false,
      \"licenseConcluded\": \"NOASSERTION\",
      \"licenseDeclared\": \"${license}\",
      \"copyrightText\": \"NOASSERTION\",
      \"externalRefs\": [{
        \"referenceCategory\": \"PACKAGE-MANAGER\",
        \"referenceType\": \"purl\",
        \"referenceLocator\": \"pkg:generic/${name}@${version}\"
      }]
    }")
  string(APPEND sbom_relations ",
    {
      \"spdxElementId\": \"SPDXRef-slabtool\",
      \"relationshipType\": \"${relation}\",
      \"relatedSpdxElement\": \"SPDXRef-${name}\"
    }")
  set(sbom_packages "${sbom_packages}" PARENT_SCOPE)
  set(sbom_relations "${sbom_relations}" PARENT_SCOPE)
endfunction()

# The version in three macros of a header.
function(sbom_header_version header prefix out)
  set(parts "")
  foreach(part MAJOR MINOR RELEASE)
    file(STRINGS "${header}" line REGEX "#define ${prefix}_${part} " LIMIT_COUNT 1)
    string(REGEX MATCH "[0-9]+" number "${line}")
    list(APPEND parts "${number}")
  endforeach()
  list(JOIN parts . version)
  set(${out} "${version}" PARENT_SCOPE)
endfunction()

sbom_header_version("${XXHASH_INCLUDE_DIR}/xxhash.h" XXH_VERSION xxhash_version)
pkg_check_modules(SBOM_GLIB QUIET glib-2.0)
execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE libc_version ERROR_QUIET)
string(REGEX MATCH "[0-9.]+" libc_version "${libc_version}")
set(libstdcxx_version "")
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  set(libstdcxx_version ${CMAKE_CXX_COMPILER_VERSION})
endif()

sbom_library(libpng "${PNG_VERSION_STRING}" libpng-2.0 DYNAMIC_LINK)
sbom_library(zlib "${ZLIB_VERSION_STRING}" Zlib DYNAMIC_LINK)
sbom_library(libchafa "${CHAFA_VERSION}" LGPL-3.0-or-later DYNAMIC_LINK)
sbom_library(glib "${SBOM_GLIB_VERSION}" LGPL-2.1-or-later DYNAMIC_LINK)
sbom_library(libstdcxx "${libstdcxx_version}" "GPL-3.0-or-later WITH GCC-exception-3.1" DYNAMIC_LINK)
sbom_library(glibc "${libc_version}" LGPL-2.1-or-later DYNAMIC_LINK)
sbom_library(CLI11 "${CLI11_VERSION}" BSD-3-Clause CONTAINS)
sbom_library(nlohmann-json "${nlohmann_json_VERSION}" MIT CONTAINS)
sbom_library(xxHash "${xxhash_version}" BSD-2-Clause CONTAINS)

# The same build has the same identifier. SOURCE_DATE_EPOCH sets the time.
string(UUID sbom_uuid NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 TYPE SHA1
       NAME "slabtool ${PROJECT_VERSION}${sbom_packages}")
string(TIMESTAMP sbom_time "%Y-%m-%dT%H:%M:%SZ" UTC)
configure_file("${PROJECT_SOURCE_DIR}/cmake/slabtool.spdx.json.in" "${PROJECT_BINARY_DIR}/slabtool.spdx.json" @ONLY)
