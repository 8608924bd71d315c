// Placeholder so the library has a translation unit until the account store lands.
namespace QUOR::accounts {
int AccountsPlaceholder() { return 0; }
}  // namespace QUOR::accounts
