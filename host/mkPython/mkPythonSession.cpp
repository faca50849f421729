#include "mkPython/mkPythonSession.h"

#include "mkKernel/mkScript.h"
#include "mkPython/mkPythonSupport.h"

#include <boost/mpl/vector.hpp>

#include <string>
#include <utility>

namespace {

namespace python = boost::python;

python::object toPython(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    return python::object(
        python::handle<>(PyUnicode_DecodeUTF8(bytes.constData(), bytes.size(), "replace")));
}

} // namespace

struct mkPythonSession::Private
{
    /// A Python function that writes to `stream`. Scripts may keep it beyond the session.
    python::object writeFunction(Stream stream) const
    {
        const std::function<void(const std::string &)> write =
            [target = std::weak_ptr<Writer>(writer), stream](const std::string &text) {
                if (const std::shared_ptr<Writer> current = target.lock()) {
                    (*current)(stream, QString::fromStdString(text));
                }
            };
        using Signature = boost::mpl::vector<void, const std::string &>;
        return python::make_function(write, python::default_call_policies(), Signature());
    }

    std::shared_ptr<Writer> writer;
    python::object session;
};

mkPythonSession::mkPythonSession(Writer writer)
    : d(std::make_unique<Private>())
{
    d->writer = std::make_shared<Writer>(std::move(writer));
    mkScript::call([this] {
        d->session = mkPython::load("console.py")["Session"](d->writeFunction(Stream::Output),
                                                             d->writeFunction(Stream::Errors),
                                                             python::object(mkPython::load(
                                                                 "running.py")["drop_own_frames"]));
    });
}

mkPythonSession::~mkPythonSession()
{
    mkScript::call([this] { d->session.attr("end")(); });
}

bool mkPythonSession::isComplete(const QString &source) const
{
    bool complete = true;
    mkScript::call([&] {
        complete = python::extract<bool>(d->session.attr("is_complete")(toPython(source)));
    });
    return complete;
}

void mkPythonSession::execute(const QString &source)
{
    mkScript::call([&] { d->session.attr("execute")(toPython(source)); });
}

QStringList mkPythonSession::complete(const QString &name) const
{
    QStringList matches;
    mkScript::call([&] {
        const python::object found = d->session.attr("complete")(toPython(name));
        for (python::ssize_t i = 0; i < python::len(found); ++i) {
            const std::string match = python::extract<std::string>(found[i]);
            matches += QString::fromStdString(match);
        }
    });
    return matches;
}
