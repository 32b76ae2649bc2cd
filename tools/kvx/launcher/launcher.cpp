// The command as it is installed: becomes the tool, with libraries under the names of the platform's closed ones.
//
// Those of the platform itself come first, wherever the loader finds them. Where it does not find both, the stand-ins
// serve, which lie aside. A search path in the tool would not do: the loader looks there before it looks in the
// system's folders, and the stand-ins would take the place of the platform's.
#include <dlfcn.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr const char* kClosedLibraries[] = {"libkorvexlog.so", "librtk_common.so"};

using path_t = char[PATH_MAX];

int fail(const char* what, const char* why)
{
    std::fprintf(stderr, "kvx: error: %s: %s\n", what, why);
    return 1;
}

// @return false: the path is too long
bool join(const char* folder, const char* name, path_t& path)
{
    return std::snprintf(path, sizeof path, "%s/%s", folder, name) < static_cast<int>(sizeof path);
}

bool search_first(const char* folder)
{
    const char* const others = std::getenv("LD_LIBRARY_PATH");
    if (others == nullptr || *others == '\0') return setenv("LD_LIBRARY_PATH", folder, 1) == 0;
    char* paths = nullptr;
    return asprintf(&paths, "%s:%s", folder, others) > 0 && setenv("LD_LIBRARY_PATH", paths, 1) == 0;
}

bool loads(const char* library)
{
    return dlopen(library, RTLD_LAZY | RTLD_LOCAL) != nullptr;
}

// Beside our library or wherever else the loader looks for what it needs. The former without $ORIGIN, which is not
// everywhere the folder that a link to this program leads to.
bool platform_is_found(const char* folder)
{
    return std::all_of(std::begin(kClosedLibraries), std::end(kClosedLibraries), [folder](const char* name) {
        path_t path;
        return loads(name) || (join(folder, name, path) && loads(path));
    });
}

bool stand_ins_are_here(const char* folder)
{
    return std::all_of(std::begin(kClosedLibraries), std::end(kClosedLibraries), [folder](const char* name) {
        path_t path;
        return join(folder, name, path) && access(path, R_OK) == 0;
    });
}

}   // namespace

int main(int, char** argv)
{
    path_t here, tool, library, stand_ins;
    // There without /proc, too. NOLINTNEXTLINE(performance-no-int-to-ptr): pointers come as numbers there
    const auto* const started_as = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (started_as == nullptr || realpath(started_as, here) == nullptr) return fail(argv[0], std::strerror(errno));
    *std::strrchr(here, '/') = '\0';
    if (!join(here, KVX_TOOL, tool) || !join(here, KVX_LIBRARY, library) || !join(here, KVX_STANDINS, stand_ins)) {
        return fail(here, "the path is too long");
    }

    if (!platform_is_found(library)) {
        if (!stand_ins_are_here(stand_ins)) {
            return fail("libkorvexlog.so, librtk_common.so",
                        "neither the platform's nor stand-ins for them are found (install librtk-utils-standins, or "
                        "name the folder of the platform's in LD_LIBRARY_PATH)");
        }
        if (std::strchr(stand_ins, ':') != nullptr) return fail(stand_ins, "the loader takes no path with a colon");
        if (!search_first(stand_ins)) return fail("LD_LIBRARY_PATH", std::strerror(errno));
    }
    execv(tool, argv);
    return fail(tool, std::strerror(errno));
}
