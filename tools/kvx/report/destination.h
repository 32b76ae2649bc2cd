/// @file destination.h  Where the pages of a run go, and under which names.
#ifndef KVX_REPORT_DESTINATION_H
#define KVX_REPORT_DESTINATION_H

#include <set>
#include <string>

namespace kvx::report {

class destination_t {
public:
    /// @param output  "x.html", the page or the index of several ones; any other name is a folder's
    /// @throws error_t when a file that must be made may not have its name
    destination_t(const std::string& output, bool several, bool replace);

    bool several() const { return several_; }
    const std::string& folder() const { return folder_; }
    const std::string& index() const { return index_; }   ///< file name; of a single page: empty

    /// The file name of the page of a log.
    std::string page_of(const std::string& log);

    /// Writes a page and gives it its name.
    /// @return the file's path, for a device nothing
    /// @throws error_t
    std::string write(const std::string& page, const std::string& name) const;

private:
    bool several_, replace_, stream_;
    std::string folder_, single_, index_;
    std::set<std::string> taken_;
};

}   // namespace kvx::report

#endif
