#include "Nginx.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <sstream>
#include <stdexcept>

#include "support/ChildProcess.h"

namespace integration {

namespace {

int openProcess(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

void sendSignal(int process, int number) { syscall(SYS_pidfd_send_signal, process, number, nullptr, 0); }

void waitForEnd(int process) {
    pollfd ended{process, POLLIN, 0};
    while (poll(&ended, 1, -1) < 0 && errno == EINTR) {
    }
}

}  // namespace

Nginx::Nginx(const std::string& address, const std::vector<NginxPort>& ports) {
    configure(address, ports);
    start();
}

Nginx::~Nginx() { stop(); }

void Nginx::serve(const std::string& name, const std::string& contents) const {
    directory_.write("root/" + name, contents);
}

std::vector<std::string> Nginx::stopAndTell() {
    stop();
    std::vector<std::string> lines;
    std::istringstream log(directory_.read("access.log"));
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
    }
    return lines;
}

void Nginx::configure(const std::string& address, const std::vector<NginxPort>& ports) const {
    std::ostringstream text;
    if (geteuid() == 0) {
        text << "user root;\n";  // the worker's own user could not read a folder of root's
    }
    text << "worker_processes 1;\n"
            "daemon on;\n"
            "pid nginx.pid;\n"
            "error_log error.log;\n"
            "events { worker_connections 64; }\n"
            "http {\n"
            "log_format short '$server_port $request_uri $status';\n"
            "access_log access.log short;\n"
            "default_type application/xml;\n"
            "absolute_redirect off;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        text << kind << "_temp_path temporary/" << kind << ";\n";
    }
    for (const NginxPort& port : ports) {
        text << serverBlock(address, port);
    }
    text << "}\n";
    directory_.write("nginx.conf", text.str());
    serve("index.html", "");
    directory_.write("temporary/made", "");
}

std::string Nginx::serverBlock(const std::string& address, const NginxPort& port) const {
    std::ostringstream text;
    text << "server {\nlisten " << address << ":" << port.number << (port.credentials ? " ssl" : "") << ";\n"
         << "root root;\n";
    if (port.credentials) {
        const std::string name = std::to_string(port.number);
        directory_.write(name + ".crt", port.credentials->certificate);
        directory_.write(name + ".key", port.credentials->privateKey);
        text << "ssl_certificate " << directory_.path(name + ".crt") << ";\n"
             << "ssl_certificate_key " << directory_.path(name + ".key") << ";\n";
    }
    text << port.rules << "\n}\n";
    return text.str();
}

void Nginx::start() {
    // The parent ends when the daemon listens; the daemon lets go of the standard error output when it has written its
    // number down. Both have happened when this has run.
    const support::Ended parent = support::runProgram({NGINX_PROGRAM, "-e", directory_.path("error.log"), "-p",
                                                       directory_.path(), "-c", directory_.path("nginx.conf")});
    if (parent.status != 0) {
        throw std::runtime_error("nginx does not start: " + parent.error + directory_.read("error.log"));
    }
    process_ = openProcess(static_cast<pid_t>(std::stol(directory_.read("nginx.pid"))));
    if (process_ < 0) {
        throw std::runtime_error("nginx has ended: " + directory_.read("error.log"));
    }
}

void Nginx::stop() {
    if (process_ < 0) {
        return;
    }
    sendSignal(process_, SIGTERM);
    waitForEnd(process_);
    close(process_);
    process_ = -1;
}

}  // namespace integration
