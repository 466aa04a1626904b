# SPDX-License-Identifier: Apache-2.0
# The suites, for this tree and for the project in port/ that examines an own implementation. Whoever
# includes this has GTest::gtest_main or gtest_main, platform_headers and varn_platform_static.
find_package(Threads REQUIRED)
set(contract_dir "${CMAKE_CURRENT_LIST_DIR}")
foreach(library platform_headers platform_static)
    if(NOT TARGET varn::${library})
        string(REPLACE platform_static varn_platform_static own ${library})
        add_library(varn::${library} ALIAS ${own}) # as the installed package calls them
    endif()
endforeach()

# What any process can ask of its own libraries; no device is needed.
add_library(contract_process_suites OBJECT
    "${contract_dir}/bitset_contract.cpp"
    "${contract_dir}/histlog_contract.cpp"
    "${contract_dir}/ht_chain_contract.cpp"
    "${contract_dir}/ht_contract.cpp"
    "${contract_dir}/ht_history_contract.cpp"
    "${contract_dir}/ht_walk_contract.cpp"
    "${contract_dir}/if_index_contract.cpp"
    "${contract_dir}/memacct_contract.cpp"
    "${contract_dir}/syslog_backtrace_contract.cpp"
    "${contract_dir}/thrsvc_contract.cpp")
target_link_libraries(contract_process_suites PUBLIC
    platform_headers GTest::gtest_main Threads::Threads)

# What needs a device: it calls the hooks of contract_world.h and the library.
set(root "${contract_dir}/../..")
set(coherence "${root}/tests/device/coherence")
add_library(contract_port_suites OBJECT
    "${contract_dir}/port/absence_contract.cpp"
    "${contract_dir}/port/identity_contract.cpp"
    "${contract_dir}/port/known_world.cpp"
    "${contract_dir}/port/library_contract.cpp"
    "${contract_dir}/port/patience.cpp"
    "${contract_dir}/port/port_differences.cpp"
    "${contract_dir}/port/requests.cpp"
    "${contract_dir}/port/side_services_contract.cpp"
    "${contract_dir}/port/values_contract.cpp"
    "${coherence}/comparison.cpp"
    "${coherence}/entry_fields.cpp"
    "${coherence}/questions.cpp")
set_target_properties(contract_port_suites PROPERTIES EXCLUDE_FROM_ALL ON)
target_include_directories(contract_port_suites PUBLIC
    "${contract_dir}" "${root}/tests" "${coherence}")
target_link_libraries(contract_port_suites PUBLIC
    varn_platform_static GTest::gtest_main Threads::Threads)

# All suites over one port: a target with every function of the platform headers, the file with the
# hooks of contract_world.h, and where there is one the target ${port}_world with what the hooks need.
function(varn_port_suite target port world)
    add_executable(${target} "${world}")
    if(TARGET ${port}_world)
        set(with_hooks ${port}_world)
    endif()
    target_link_libraries(${target} PRIVATE
        contract_process_suites contract_port_suites ${with_hooks} varn_platform_static ${port})
endfunction()
