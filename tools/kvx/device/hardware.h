/// @file hardware.h  What the commands for GPIO and I2C share.
#ifndef KVX_HARDWARE_H
#define KVX_HARDWARE_H

#include <memory>
#include <string>

namespace kvx {

/// Takes the messages of the hardware classes while it lives; they are the only account of what went wrong there.
class hardware_log_t {
public:
    hardware_log_t();
    ~hardware_log_t();
    hardware_log_t(const hardware_log_t&) = delete;
    hardware_log_t& operator=(const hardware_log_t&) = delete;

    /// A warning or error has come.
    bool has_message() const;

    /// @throw error_t with the first warning or error, if there was one
    void check(const std::string& device, const std::string& where) const;

private:
    class sink_t;
    std::shared_ptr<sink_t> sink_;
};

/// A decimal number, or a hexadecimal one that begins with 0x.
/// @throw usage_error_t naming `what`, unless the whole text is a number from `min` to `max`
unsigned parse_number(const std::string& text, unsigned max, const std::string& what, unsigned min = 0);

}   // namespace kvx

#endif
