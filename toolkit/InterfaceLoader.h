#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <memory>

namespace korvane {

struct ToolkitContext;

/// Makes objects of interface files. Main thread only.
class InterfaceLoader {
  public:
    struct Result {
        std::unique_ptr<QObject> root;  ///< null when it failed
        QStringList errors;
    };

    /// Loads at once; `url` is a file or resource. `near` (may be null) is an object that the result will serve: its
    /// engine is used when it has one, so that a QML host and its widgets share one. The caller owns the root, and
    /// gives a visual one its parent item. `context` is what the objects take as their ToolkitContext::current(); null
    /// leaves that as it is.
    static Result load(const QUrl& url, const QObject* near, std::shared_ptr<ToolkitContext> context = nullptr);

    /// The engine that interface files get beside `near`: its own, else one that lives as long as the application
    /// object.
    static QQmlEngine& engineFor(const QObject* near);

    /// Makes the types of Korvane.Toolkit known. load() does it too.
    static void registerTypes();
};

/// The outlets of a loaded interface: properties of its root object under the outlets' names. What a layout lacks is
/// null for the caller and is remembered by name.
class Outlets {
  public:
    explicit Outlets(const QObject* root) : root_(root) {}

    /// The object in property `name`; null, and remembered, when there is none or it is of another type.
    template <typename Type>
    Type* get(const char* name) {
        auto* found = qobject_cast<Type*>(object(name));
        if (!found) missing_ << QString::fromLatin1(name);
        return found;
    }

    const QStringList& missing() const { return missing_; }

    /// Logs one line that names what was missing, as "CLASS PATH: layout lacks outlets: a, b". True when all were
    /// there.
    bool report(const char* classPath) const;

  private:
    QObject* object(const char* name) const;

    const QObject* root_;
    QStringList missing_;
};

}  // namespace korvane
