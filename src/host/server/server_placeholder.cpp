// Placeholder so the library has a translation unit until the server lands.
namespace QUOR::server {
int ServerPlaceholder() { return 0; }
}  // namespace QUOR::server
