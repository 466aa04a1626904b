// SPDX-License-Identifier: Apache-2.0
//
// A rival that cannot be loaded is said and left out: its figures are then missing, not wrong.
#include "subjects.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "population.h"
#include "varn.h"

namespace
{

namespace fs = std::filesystem;

template <class function>
void load(void *library, const char *name, function &to)
{
    to = reinterpret_cast<function>(dlsym(library, name));
}

bench::subject rival(const fs::path &file, void *library)
{
    bench::subject made{};
    made.name = file.stem().string();
    load(library, "rival_is_linkup", made.is_linkup);
    load(library, "rival_is_protoup", made.is_protoup);
    load(library, "rival_is_switchport", made.is_switchport);
    load(library, "rival_get_if_mtu", made.get_if_mtu);
    load(library, "rival_get_if_encaptype", made.get_if_encaptype);
    load(library, "rival_fill", made.fill);
    load(library, "rival_insert", made.insert);
    load(library, "rival_remove", made.remove);
    return made;
}

std::vector<fs::path> rival_files()
{
    std::vector<fs::path> files;
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path() / "rivals";
    std::error_code none;
    for (const auto &each : fs::directory_iterator(folder, none))
        if (each.path().extension() == ".so")
            files.push_back(each.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

std::vector<bench::subject> bench::find_subjects()
{
    std::vector<subject> all{{"libvarn_platform", varn_ifsvc_is_linkup, varn_ifsvc_is_protoup,
                              varn_ifsvc_is_switchport, varn_ifsvc_get_if_mtu,
                              varn_ifsvc_get_if_encaptype, populate, insert_entry, remove_entry}};
    for (const fs::path &file : rival_files()) {
        if (void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
            all.push_back(rival(file, library));
        else
            std::fprintf(stderr, "varn_bench: left out: %s\n", dlerror());
    }
    return all;
}
