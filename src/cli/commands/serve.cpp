// `sonvik serve`: the web-API host in the foreground.
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/commands/commands.h"
#include "host/server/server.h"

namespace Sonvik::cli {

void RegisterServeCommand(CLI::App& app) {
  struct Options {
    std::string listen = "127.0.0.1:5080";
    std::string workers = "2:16";
  };
  auto options = std::make_shared<Options>();
  CLI::App* serve = app.add_subcommand(
      "serve",
      "Run the web-API host in the foreground (start it as root; it serves as the account "
      "Sonvik). Stops on SIGTERM or Ctrl-C after finishing the requests under way.");
  serve->add_option("--listen", options->listen, "Address and port to listen on, ADDR:PORT")
      ->capture_default_str();
  serve
      ->add_option("--workers", options->workers,
                   "Worker processes MIN:MAX; the pool grows under load and shrinks when idle")
      ->capture_default_str();
  serve->callback([options] {
    QUOR::server::ServeOptions serve_options;
    std::string error;
    if (!QUOR::server::ParseListenAddress(options->listen, &serve_options.listen, &error) ||
        !QUOR::server::ParsePoolSize(options->workers, &serve_options.pool, &error)) {
      throw CLI::ValidationError("serve", error);
    }
    int status = QUOR::server::RunServer(serve_options);
    if (status != 0) std::exit(status);
  });
}

}  // namespace Sonvik::cli
