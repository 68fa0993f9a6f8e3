#include "korvane/toolkit/InterfaceLoader.h"

#include <QCoreApplication>
#include <QQmlComponent>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/toolkit/ToolkitContext.h"

extern void qml_register_types_Korvane_Toolkit();

namespace korvane {
namespace {

// Destroyed with the application object, as all that QML made must be.
std::unique_ptr<QQmlEngine>& ownEngine() {
    static std::unique_ptr<QQmlEngine> engine;
    return engine;
}

QString described(const QQmlError& error) {
    return QStringLiteral("%1, line %2: %3")
        .arg(error.url().fileName(), QString::number(error.line()), error.description());
}

}  // namespace

InterfaceLoader::Result InterfaceLoader::load(const QUrl& url, const QObject* near,
                                              std::shared_ptr<ToolkitContext> context) {
    const ToolkitContext::Use use(std::move(context));
    registerTypes();
    QQmlEngine& engine = engineFor(near);
    QQmlComponent component(&engine, url, QQmlComponent::PreferSynchronous);
    Result result;
    if (component.isReady()) {
        result.root.reset(component.create(engine.rootContext()));
    } else if (component.isLoading()) {
        result.errors << QStringLiteral("layouts are read from files and resources only");
    }
    for (const QQmlError& error : component.errors()) result.errors << described(error);
    if (result.root) QQmlEngine::setObjectOwnership(result.root.get(), QQmlEngine::CppOwnership);
    if (!result.root && result.errors.isEmpty()) result.errors << QStringLiteral("the layout makes no object");
    return result;
}

QQmlEngine& InterfaceLoader::engineFor(const QObject* near) {
    if (QQmlEngine* engine = near ? qmlEngine(near) : nullptr) return *engine;
    auto& engine = ownEngine();
    if (!engine) {
        engine = std::make_unique<QQmlEngine>();
        engine->addImportPath(QStringLiteral(":/"));
        qAddPostRoutine([] { ownEngine().reset(); });
    }
    return *engine;
}

void InterfaceLoader::registerTypes() {
    static const bool isDone = (qml_register_types_Korvane_Toolkit(), true);
    static_cast<void>(isDone);
}

bool Outlets::report(const char* classPath) const {
    if (missing_.isEmpty()) return true;
    logError(classPath, "layout lacks outlets: " + missing_.join(QStringLiteral(", ")).toStdString());
    return false;
}

QObject* Outlets::object(const char* name) const {
    return root_ ? qvariant_cast<QObject*>(root_->property(name)) : nullptr;
}

}  // namespace korvane
