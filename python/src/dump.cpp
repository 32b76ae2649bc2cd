// Dump files, record by record.
#include <pybind11/pybind11.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "common/input_file.h"
#include "dump/dump_reader.h"
#include "lock.h"
#include "rooms.h"
#include "source.h"
#include "turn.h"

namespace rtk_python {

namespace {

/// Items of a dump in order; every byte is in exactly one.
class dump_t {
public:
    explicit dump_t(const py::object& input) : source_(input)
    {
        const unlocked_t unlocked;
        file_ = std::make_unique<kvx::input_file_t>(source_.path());
        reader_.emplace([file = file_.get()](std::uint8_t* to, std::size_t n) { return file->read_some(to, n); });
    }

    /// Offset, bytes, what is damaged (None: a record), type, name of the type and payload of the next one.
    /// @throws py::stop_iteration behind the last one
    py::tuple next()
    {
        const turn_t turn(busy_);
        if (!reader_) throw py::stop_iteration();
        kvx::dump_item_t item{};
        bool more = false;
        try {
            const unlocked_t unlocked;
            more = reader_->next(item);
        } catch (...) {
            end();
            throw;
        }
        if (!more) {
            end();
            throw py::stop_iteration();
        }
        const bool record = item.payload != nullptr;
        const char* const damage = item.damage == kvx::dump_damage_t::none ? nullptr : dump_damage_text(item.damage);
        return py::make_tuple(
            item.offset, item.bytes, damage != nullptr ? py::object(py::str(damage)) : py::none(),
            item.type != nullptr ? py::object(py::str(item.type->name)) : py::none(),
            record ? py::object(py::bytes(reinterpret_cast<const char*>(item.payload), item.length)) : py::none());
    }

    void close()
    {
        const turn_t turn(busy_);
        end();
    }

    /// Why it could not be read to its end; empty when it could.
    py::str cut_off() const { return text_with_path(cut_off_); }

private:
    void end()
    {
        if (!file_) return;
        cut_off_ = source_.told(file_->damage());
        reader_.reset();
        file_.reset();
    }

    source_t source_;
    std::unique_ptr<kvx::input_file_t> file_;   // none: it has ended
    std::optional<kvx::dump_reader_t> reader_;
    std::string cut_off_;
    std::atomic<bool> busy_ = false;
};

}   // namespace

void add_dump(py::module_& module)
{
    py::class_<dump_t>(module, "Dump")
        .def(py::init<const py::object&>())
        .def("__next__", &dump_t::next)
        .def("close", &dump_t::close)
        .def_property_readonly("cut_off", &dump_t::cut_off);
}

}   // namespace rtk_python
