#include "platform/linux/SecretServiceLibrary.h"

namespace halvercine::platform::gnulinux {

const SecretServiceLibrary* SecretServiceLibrary::get() {
  static SecretServiceLibrary library;
  static const bool isLoaded = library.load();
  return isLoaded ? &library : nullptr;
}

bool SecretServiceLibrary::load() {
  library_ = ::dlopen("libsecret-1.so.0", RTLD_NOW | RTLD_LOCAL);
  // The handle finds what the library itself depends on, too.
  return library_ != nullptr && find(getService, "secret_service_get_sync") &&
         find(disconnect, "secret_service_disconnect") &&
         find(store, "secret_service_store_sync") && find(search, "secret_service_search_sync") &&
         find(clear, "secret_service_clear_sync") && find(itemSecret, "secret_item_get_secret") &&
         find(makeValue, "secret_value_new") && find(valueBytes, "secret_value_get") &&
         find(releaseValue, "secret_value_unref") &&
         find(connectionOf, "g_dbus_proxy_get_connection") &&
         find(setExitOnClose, "g_dbus_connection_set_exit_on_close") &&
         find(makeCancellable, "g_cancellable_new") && find(cancel, "g_cancellable_cancel") &&
         find(releaseObject, "g_object_unref") && find(freeError, "g_error_free") &&
         find(errorMatches, "g_error_matches") && find(ioErrors, "g_io_error_quark") &&
         find(busErrors, "g_dbus_error_quark") && find(makeTable, "g_hash_table_new") &&
         find(insert, "g_hash_table_insert") && find(releaseTable, "g_hash_table_unref") &&
         find(hashText, "g_str_hash") && find(equalTexts, "g_str_equal") &&
         find(freeList, "g_list_free");
}

}  // namespace halvercine::platform::gnulinux
