#include "context.hpp"

namespace ostradb::cli {

Session& Context::GetSession() {
    if (!session_) {
        Target target = fixedTarget ? *fixedTarget : ResolveTarget(options.connection);
        const std::string saved = doing_;
        doing_ = "logging in to " + target.host + ":" + std::to_string(target.port);
        auto session = std::make_unique<Session>(std::move(target), options.trace);
        session->Open();
        session_ = std::move(session);
        doing_ = saved;
    }
    return *session_;
}

void Context::CloseSession() {
    session_.reset();
}

void Context::SetAction(const CLI::App* command, std::function<void()> action) {
    actions_[command] = std::move(action);
}

const std::function<void()>* Context::ActionFor(const CLI::App* command) const {
    const auto it = actions_.find(command);
    return it == actions_.end() ? nullptr : &it->second;
}

}  // namespace ostradb::cli
