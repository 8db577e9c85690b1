#include "streams.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "call.hpp"

namespace ostradb::python {

namespace {

// A memoryview over the client's own buffer, released once Python is done with it so that
// nothing keeps reaching into memory the client reuses.
class BufferView {
public:
    BufferView(char* data, std::streamsize size, int flags)
        : view_(py::reinterpret_steal<py::object>(
              PyMemoryView_FromMemory(data, static_cast<Py_ssize_t>(size), flags))) {
        if (!view_) throw py::error_already_set();
    }
    ~BufferView() {
        // Release fails (BufferError) only when the callee exported the view further; the
        // view itself is then no longer usable anyway.
        if (PyObject* r = PyObject_CallMethod(view_.ptr(), "release", nullptr)) {
            Py_DECREF(r);
        } else {
            PyErr_Clear();
        }
    }
    const py::object& get() const { return view_; }

private:
    py::object view_;
};

// A Python ValueError, to be raised where the file object misbehaves.
py::error_already_set ValueError(const std::string& message) {
    PyErr_SetString(PyExc_ValueError, message.c_str());
    return py::error_already_set();
}

bool IsTextFile(py::handle obj) {
    static py::object textBase = py::module_::import("io").attr("TextIOBase");
    return py::isinstance(obj, textBase);
}

// Writes through to Python: the client writes whole chunks, so a buffer here would only add a
// copy.
class PyWriteBuf : public std::streambuf {
public:
    // extend: target is a bytearray, whose extend() takes everything and returns None.
    PyWriteBuf(py::object write, bool extend) : write_(std::move(write)), extend_(extend) {}
    ~PyWriteBuf() override {
        py::gil_scoped_acquire gil;
        write_ = py::object();
    }

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        if (failed_ || size <= 0) return failed_ ? 0 : size;
        py::gil_scoped_acquire gil;
        try {
            std::streamsize done = 0;
            while (done < size) {
                BufferView view(const_cast<char*>(data) + done, size - done, PyBUF_READ);
                py::object written = write_(view.get());
                if (extend_) return size;
                if (!PyLong_Check(written.ptr()))
                    throw ValueError("the file object's write returned " +
                                     std::string(py::repr(written)) + ", not a byte count");
                const auto n = written.cast<std::streamsize>();
                if (n <= 0 || n > size - done)
                    throw ValueError("the file object's write returned " + std::to_string(n));
                done += n;
            }
            return size;
        } catch (py::error_already_set& e) {
            failed_ = true;
            CallScope::Fail(e);
        }
        return 0;
    }
    int_type overflow(int_type ch) override {
        if (traits_type::eq_int_type(ch, traits_type::eof())) return traits_type::not_eof(ch);
        const char c = traits_type::to_char_type(ch);
        return xsputn(&c, 1) == 1 ? ch : traits_type::eof();
    }

private:
    py::object write_;
    bool extend_;
    bool failed_ = false;
};

// Reads a Python binary file object. A get area of its own serves single characters only;
// the client reads in large blocks, which go straight into its buffer.
class PyReadBuf : public std::streambuf {
public:
    explicit PyReadBuf(py::object file) : file_(std::move(file)) {
        readinto_ = py::hasattr(file_, "readinto");
    }
    ~PyReadBuf() override {
        py::gil_scoped_acquire gil;
        file_ = py::object();
    }

protected:
    std::streamsize xsgetn(char* data, std::streamsize size) override {
        std::streamsize done = std::min<std::streamsize>(size, egptr() - gptr());
        if (done > 0) {
            std::memcpy(data, gptr(), static_cast<std::size_t>(done));
            gbump(static_cast<int>(done));
        }
        if (done == size || failed_) return done;
        py::gil_scoped_acquire gil;
        try {
            while (done < size) {
                const std::streamsize n = ReadSome(data + done, size - done);
                if (n == 0) break;
                done += n;
            }
        } catch (py::error_already_set& e) {
            failed_ = true;
            CallScope::Fail(e);
        }
        return done;
    }
    int_type underflow() override {
        if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
        const std::streamsize n = xsgetn(one_, 1);
        if (n != 1) return traits_type::eof();
        setg(one_, one_, one_ + 1);
        return traits_type::to_int_type(one_[0]);
    }
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
        if (dir == std::ios_base::cur) off -= egptr() - gptr();
        setg(nullptr, nullptr, nullptr);
        const int whence = dir == std::ios_base::beg ? 0 : dir == std::ios_base::cur ? 1 : 2;
        py::gil_scoped_acquire gil;
        try {
            return pos_type(file_.attr("seek")(off, whence).cast<off_type>());
        } catch (py::error_already_set& e) {
            // Not seekable: the client then says the data cannot tell its size.
            if (!e.matches(PyExc_OSError) && !e.matches(PyExc_AttributeError) &&
                !e.matches(PyExc_ValueError))
                CallScope::Fail(e);
            return pos_type(off_type(-1));
        }
    }
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
        return seekoff(off_type(pos), std::ios_base::beg, which);
    }

private:
    std::streamsize ReadSome(char* data, std::streamsize size) {
        if (readinto_) {
            BufferView view(data, size, PyBUF_WRITE);
            py::object n = file_.attr("readinto")(view.get());
            if (!PyLong_Check(n.ptr()))
                throw ValueError("the file object's readinto returned " + std::string(py::repr(n)) +
                                 ", not a byte count");
            const auto got = n.cast<std::streamsize>();
            if (got < 0 || got > size) throw BadCount(got);
            return got;
        }
        py::object chunk = file_.attr("read")(size);
        char* bytes = nullptr;
        Py_ssize_t length = 0;
        if (PyBytes_AsStringAndSize(chunk.ptr(), &bytes, &length) != 0)
            throw py::error_already_set();
        if (length > size) throw BadCount(length);
        std::memcpy(data, bytes, static_cast<std::size_t>(length));
        return length;
    }
    static py::error_already_set BadCount(Py_ssize_t n) {
        return ValueError("the file object's read returned " + std::to_string(n) + " bytes");
    }

    py::object file_;
    bool readinto_ = false;
    bool failed_ = false;
    char one_[1];
};

// Reads an object's buffer in place; the buffer is held (a bytearray cannot be resized) until
// the stream is destroyed.
class BufferReadBuf : public std::streambuf {
public:
    explicit BufferReadBuf(py::handle source) {
        if (PyObject_GetBuffer(source.ptr(), &view_, PyBUF_SIMPLE) != 0)
            throw py::error_already_set();
        char* begin = static_cast<char*>(view_.buf);
        setg(begin, begin, begin + view_.len);
    }
    ~BufferReadBuf() override {
        py::gil_scoped_acquire gil;
        PyBuffer_Release(&view_);
    }

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
        const off_type base = dir == std::ios_base::beg   ? 0
                              : dir == std::ios_base::cur ? gptr() - eback()
                                                          : egptr() - eback();
        const off_type target = base + off;
        if (target < 0 || target > egptr() - eback()) return pos_type(off_type(-1));
        setg(eback(), eback() + target, egptr());
        return pos_type(target);
    }
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
        return seekoff(off_type(pos), std::ios_base::beg, which);
    }

private:
    Py_buffer view_{};
};

// A stream that owns its buffer.
template <class Stream>
class OwningStream : public Stream {
public:
    explicit OwningStream(std::unique_ptr<std::streambuf> buf)
        : Stream(buf.get()), buf_(std::move(buf)) {}

private:
    std::unique_ptr<std::streambuf> buf_;
};

}  // namespace

std::unique_ptr<std::ostream> MakeOutputStream(py::handle target) {
    std::unique_ptr<std::streambuf> buf;
    if (PyByteArray_Check(target.ptr()))
        buf = std::make_unique<PyWriteBuf>(target.attr("extend"), true);
    else if (IsTextFile(target))
        throw py::type_error("a text file cannot take data: open it in binary mode (\"wb\")");
    else if (py::hasattr(target, "write"))
        buf = std::make_unique<PyWriteBuf>(target.attr("write"), false);
    else
        throw py::type_error("data goes to a binary file object or a bytearray, not " +
                             std::string(py::str(py::type::of(target).attr("__name__"))));
    return std::make_unique<OwningStream<std::ostream>>(std::move(buf));
}

std::unique_ptr<std::istream> MakeInputStream(py::handle source) {
    std::unique_ptr<std::streambuf> buf;
    if (PyObject_CheckBuffer(source.ptr()))
        buf = std::make_unique<BufferReadBuf>(source);
    else if (IsTextFile(source))
        throw py::type_error("a text file cannot give data: open it in binary mode (\"rb\")");
    else if (py::hasattr(source, "readinto") || py::hasattr(source, "read"))
        buf = std::make_unique<PyReadBuf>(py::reinterpret_borrow<py::object>(source));
    else
        throw py::type_error("data comes from bytes, a buffer or a binary file object, not " +
                             std::string(py::str(py::type::of(source).attr("__name__"))));
    return std::make_unique<OwningStream<std::istream>>(std::move(buf));
}

}  // namespace ostradb::python
