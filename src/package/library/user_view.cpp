#include "package/library/user_view.h"

namespace Sonvik::library {

std::string UserViewCondition(unsigned uid, std::string_view library_id_column) {
  // The subquery is small (one row per music folder) and SQLite evaluates it once per statement.
  std::string condition = "(";
  condition += library_id_column;
  condition += " IN (SELECT id FROM libraries WHERE enabled = 1 AND owner_uid IN (0, ";
  condition += std::to_string(uid);
  condition += ")))";
  return condition;
}

}  // namespace Sonvik::library
