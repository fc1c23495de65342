// The compiled half of the quorvex Python package: chains over numpy arrays.
// The package's __init__.py gives it the public face (keyword chains,
// docstrings that read well in help()).
#include "array_entry.h"
#include "stream.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <utility>

namespace py = pybind11;
namespace qc = quorvex::chain;
using quorvex::python::ArrayDescription;
using quorvex::python::ArrayLayout;
using quorvex::python::Output;
using quorvex::python::Refusal;
using quorvex::python::Stream;

namespace {

ArrayLayout checked(const py::array& audio, bool channelsFirst) {
    ArrayDescription array;
    const py::dtype type = audio.dtype();
    array.typeName = type.attr("name").cast<std::string>();
    array.kind = type.kind();
    array.itemSize = static_cast<int>(type.itemsize());
    array.nativeOrder = type.attr("isnative").cast<bool>();
    array.ndim = static_cast<int>(audio.ndim());
    for (int axis = 0; axis < array.ndim && axis < 2; ++axis) {
        array.shape[axis] = audio.shape(axis);
        array.strides[axis] = audio.strides(axis);
    }
    array.aligned = (audio.flags() & py::detail::npy_api::NPY_ARRAY_ALIGNED_) != 0;
    array.channelsFirst = channelsFirst;
    ArrayLayout layout = quorvex::python::checkArray(array);
    if (layout.refusal == Refusal::WrongType) throw py::type_error(layout.message);
    if (layout.refusal == Refusal::WrongValue) throw py::value_error(layout.message);
    return layout;
}

template <typename Sample>
py::array toArray(std::vector<Sample>&& samples, long long frames, const ArrayLayout& layout) {
    const py::ssize_t count = frames;
    const py::ssize_t channels = layout.channels;
    if (layout.channelsFirst) {  // the chain works frame by frame; lay the channels out as rows
        py::array_t<Sample> planar({channels, count});
        Sample* to = planar.mutable_data();
        for (py::ssize_t f = 0; f < count; ++f)
            for (py::ssize_t c = 0; c < channels; ++c)
                to[c * count + f] = samples[static_cast<size_t>(f * channels + c)];
        return std::move(planar);
    }
    auto* owned = new std::vector<Sample>(std::move(samples));
    py::capsule release(owned,
                        [](void* vector) { delete static_cast<std::vector<Sample>*>(vector); });
    std::vector<py::ssize_t> shape{count};
    if (layout.ndim == 2) shape.push_back(channels);
    return py::array_t<Sample>(shape, owned->data(), release);
}

// A stream with the layout of the arrays it was last given, so that a tail
// comes out shaped like the blocks before it.
class ArrayStream {
public:
    ArrayStream(const std::string& text, int rate) : stream(text, rate) {}

    py::array whole(const py::array& audio, bool channelsFirst) {
        return run(&Stream::whole, audio, channelsFirst);
    }

    py::array process(const py::array& audio, bool channelsFirst) {
        return run(&Stream::write, audio, channelsFirst);
    }

    py::array flush() {
        Output out;
        {
            py::gil_scoped_release unlocked;
            stream.finish(out);
        }
        return result(std::move(out));
    }

    void reset() {
        py::gil_scoped_release unlocked;
        stream.reset();
    }

    Stream stream;

private:
    using Run = void (Stream::*)(const void*, const ArrayLayout&, Output&);

    // The array is read with the interpreter unlocked; it stays alive, held
    // by the caller's reference.
    py::array run(Run step, const py::array& audio, bool channelsFirst) {
        last = checked(audio, channelsFirst);
        Output out;
        {
            py::gil_scoped_release unlocked;
            (stream.*step)(audio.data(), last, out);
        }
        return result(std::move(out));
    }

    py::array result(Output&& out) {
        if (last.isDouble) return toArray(std::move(out.doubles), out.frames, last);
        return toArray(std::move(out.singles), out.frames, last);
    }

    ArrayLayout last;
};

py::dict parameterEntry(const qc::Parameter& param) {
    static const char* const kinds[] = {"number", "choice", "switch", "path"};
    py::dict entry;
    entry["key"] = param.key;
    entry["kind"] = kinds[static_cast<int>(param.kind)];
    entry["default"] = param.defaultValue;
    entry["help"] = param.help;
    if (param.kind == qc::ParamKind::Number) {
        entry["min"] = param.min;
        entry["max"] = param.max;
        entry["whole"] = param.whole;
        entry["unit"] = param.unit;
        entry["range"] = qc::rangeText(param);
    }
    if (param.kind == qc::ParamKind::Choice) entry["choices"] = param.choices;
    return entry;
}

py::list filterEntries() {
    py::list entries;
    for (const qc::FilterInfo& filter : qc::filters()) {
        py::dict entry;
        entry["name"] = filter.name;
        entry["summary"] = filter.summary;
        entry["rates"] = filter.rates;
        entry["shared_state"] = filter.sharedState;
        entry["positional"] = filter.positional;
        entry["integer_only"] = filter.integerOnly;
        py::list params;
        for (const qc::Parameter& param : filter.params) params.append(parameterEntry(param));
        entry["params"] = params;
        entries.append(entry);
    }
    return entries;
}

}  // namespace

PYBIND11_MODULE(_quorvex, module) {
    module.doc() = "Compiled half of the quorvex package; use quorvex itself.";
    py::register_exception_translator([](std::exception_ptr raised) {
        try {
            if (raised) std::rethrow_exception(raised);
        } catch (const qc::SyntaxError& error) {
            PyErr_SetString(PyExc_ValueError, error.what());
        } catch (const qc::StreamError& error) {
            PyErr_SetString(PyExc_ValueError, error.what());
        } catch (const quorvex::python::StateConflict& error) {
            PyErr_SetString(PyExc_ValueError, error.what());
        }
    });

    module.def("filters", &filterEntries, "Every filter with its parameters, as dicts.");

    py::class_<ArrayStream>(module, "Stream", "A chain run over arrays; see quorvex.Chain.")
        .def(py::init([](const std::string& text, int rate) {
                 py::gil_scoped_release unlocked;
                 return std::make_unique<ArrayStream>(text, rate);
             }),
             py::arg("text"), py::arg("sample_rate"))
        .def("whole", &ArrayStream::whole, py::arg("audio"), py::arg("channels_first"))
        .def("process", &ArrayStream::process, py::arg("audio"), py::arg("channels_first"))
        .def("flush", &ArrayStream::flush)
        .def("reset", &ArrayStream::reset)
        .def_property_readonly("output_rate",
                               [](const ArrayStream& self) { return self.stream.outputRate(); })
        .def_property_readonly("sample_rate",
                               [](const ArrayStream& self) { return self.stream.inputRate(); })
        .def_property_readonly("latency",
                               [](const ArrayStream& self) { return self.stream.latencySeconds(); })
        .def_property_readonly("name", [](ArrayStream& self) { return self.stream.chainName(); })
        .def("output_frames", [](const ArrayStream& self, long long frames) {
            return self.stream.outputFramesFor(frames);
        });
}
