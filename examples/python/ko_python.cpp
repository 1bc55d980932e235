// Values of all types in Python: a module over ko.hpp.
//
//     c++ -std=c++20 -shared -fPIC ko_python.cpp $(pkg-config --cflags --libs kotms)
//         -I $(python3 -c 'import sysconfig; print(sysconfig.get_path("include"))') -o ko.so
//
//     >>> import ko
//     >>> day = ko.parse("KoDate", "2024-02-29")         # the stored bytes of a value
//     >>> ko.text("KoDate", day), ko.text("KoDate", day, "%d.%m.%Y")
//     >>> ko.compare("KoDate", day, ko.parse("KoDate", "2024-03-01"))     # -1, 0 or 1
//     >>> sorted(texts, key=lambda text: ko.key("KoString", text, ko.IGNORE_CASE))
//     >>> ko.hash("KoDate", day)
//
// What is wrong raises a ValueError with a sentence and, of texts, the byte.

#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <ko.hpp>

#include <sstream>

namespace
{

PyObject* Raise(const ko::Error& error)
{
    if (error.status == ko::Status::no_memory)
        return PyErr_NoMemory();
    std::ostringstream sentence;
    sentence << error;
    PyErr_SetString(PyExc_ValueError, sentence.str().c_str());
    return nullptr;
}

PyObject* Python(ko::BytesView bytes)
{
    return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(bytes.data()),
                                     static_cast<Py_ssize_t>(bytes.size()));
}
PyObject* Python(const ko::Value& value)
{
    return Python(value.Stored());
}
PyObject* Python(const std::string& text)
{
    return PyUnicode_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size()));
}
PyObject* Python(std::weak_ordering order)
{
    return PyLong_FromLong(std::is_gt(order) - std::is_lt(order));
}
PyObject* Python(std::uint64_t number)
{
    return PyLong_FromUnsignedLongLong(number);
}
template <class T>
PyObject* Python(const ko::Result<T>& result)
{
    return result ? Python(*result) : Raise(result.error());
}

/// A buffer of the caller's, which "y#" and "s#" fill.
struct Span {
    const char* data = nullptr;
    Py_ssize_t size = 0;

    std::string_view Text() const { return {data, static_cast<std::size_t>(size)}; }
    ko::BytesView Bytes() const { return std::as_bytes(std::span(Text())); }
};

/// Converts a word for "O&". A number beyond 32 bits becomes one that is no word, as -1 does.
int ToWord(PyObject* number, void* word)
{
    int overflow = 0;
    const long long wide = PyLong_AsLongLongAndOverflow(number, &overflow);
    if (wide == -1 && PyErr_Occurred() != nullptr)
        return 0;
    const bool fits = overflow == 0 && wide >= 0 && wide <= 0xFFFFFFFF;
    *static_cast<unsigned*>(word) = fits ? static_cast<unsigned>(wide) : 0xFFFFFFFF;
    return 1;
}

/// Reads the arguments of a call, the first being the name of a type, and gives `work` the type.
template <class Work, class... Arguments>
PyObject* Call(PyObject* arguments, const char* kinds, Work work, Arguments*... into)
{
    const char* name = nullptr;
    if (!PyArg_ParseTuple(arguments, kinds, &name, into...))
        return nullptr;
    const auto type = ko::Type::Find(name);
    return type ? Python(work(*type)) : Raise(ko::Error::Of(ko::Status::no_type));
}

PyObject* Parse(PyObject*, PyObject* arguments)
{
    Span text;
    const char* format = nullptr;
    const auto work = [&](ko::Type type) { return ko::Value::Parse(type, text.Text(), format); };
    return Call(arguments, "ss#|z", work, &text.data, &text.size, &format);
}
PyObject* Text(PyObject*, PyObject* arguments)
{
    Span value;
    const char* format = nullptr;
    const auto work = [&](ko::Type type) {
        return ko::Value::Load(type, value.Bytes()).and_then([&](const ko::Value& loaded) {
            return loaded.Text(format);
        });
    };
    return Call(arguments, "sy#|z", work, &value.data, &value.size, &format);
}
PyObject* Compare(PyObject*, PyObject* arguments)
{
    Span a, b;
    unsigned word = KO_PLAIN;
    const auto work = [&](ko::Type type) {
        return ko::Compare(type, a.Bytes(), b.Bytes(), static_cast<ko::Word>(word));
    };
    return Call(arguments, "sy#y#|O&", work, &a.data, &a.size, &b.data, &b.size, ToWord, &word);
}
/// What ko::SortKey or ko::Hash makes of a value.
template <class Make>
PyObject* Made(PyObject* arguments, Make make)
{
    Span value;
    unsigned word = KO_PLAIN;
    const auto work = [&](ko::Type type) {
        return make(type, value.Bytes(), static_cast<ko::Word>(word | KO_PLAIN), ko::Order::big);
    };
    return Call(arguments, "sy#|O&", work, &value.data, &value.size, ToWord, &word);
}
PyObject* Key(PyObject*, PyObject* arguments)
{
    return Made(arguments, ko::SortKey);
}
PyObject* Hash(PyObject*, PyObject* arguments)
{
    return Made(arguments, ko::Hash);
}

PyMethodDef functions[] = {
    {"parse", Parse, METH_VARARGS, "parse(type, text, format=None): the stored bytes"},
    {"text", Text, METH_VARARGS, "text(type, bytes, format=None)"},
    {"compare", Compare, METH_VARARGS, "compare(type, a, b, word=PLAIN): -1, 0 or 1"},
    {"key", Key, METH_VARARGS, "key(type, bytes, word=PLAIN): bytes that are in order"},
    {"hash", Hash, METH_VARARGS, "hash(type, bytes, word=PLAIN)"},
    {nullptr, nullptr, 0, nullptr}};
PyModuleDef module = {PyModuleDef_HEAD_INIT,
                      "ko",
                      "Values of all types",
                      -1,
                      functions,
                      nullptr,
                      nullptr,
                      nullptr,
                      nullptr};

} // namespace

PyMODINIT_FUNC PyInit_ko()
{
    PyObject* const made = PyModule_Create(&module);
    if (made != nullptr) {
        PyModule_AddIntConstant(made, "PLAIN", KO_PLAIN);
        PyModule_AddIntConstant(made, "IGNORE_CASE", KO_IGNORE_CASE);
        PyModule_AddIntConstant(made, "IGNORE_ACCENTS", KO_IGNORE_ACCENTS);
    }
    return made;
}
