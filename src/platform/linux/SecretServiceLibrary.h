// The functions of libsecret, found when they are needed.
#pragma once

#include <dlfcn.h>

#include <libsecret/secret.h>

namespace halvercine::platform::gnulinux {

/// The library stays loaded once it is. Any thread.
class SecretServiceLibrary {
 public:
  /// Null when this computer has no such library.
  static const SecretServiceLibrary* get();

  decltype(&secret_service_get_sync) getService{};
  decltype(&secret_service_disconnect) disconnect{};
  decltype(&secret_service_store_sync) store{};
  decltype(&secret_service_search_sync) search{};
  decltype(&secret_service_clear_sync) clear{};
  decltype(&secret_item_get_secret) itemSecret{};
  decltype(&secret_value_new) makeValue{};
  decltype(&secret_value_get) valueBytes{};
  decltype(&secret_value_unref) releaseValue{};
  decltype(&g_dbus_proxy_get_connection) connectionOf{};
  decltype(&g_dbus_connection_set_exit_on_close) setExitOnClose{};
  decltype(&g_cancellable_new) makeCancellable{};
  decltype(&g_cancellable_cancel) cancel{};
  decltype(&g_object_unref) releaseObject{};
  decltype(&g_error_free) freeError{};
  decltype(&g_error_matches) errorMatches{};
  decltype(&g_io_error_quark) ioErrors{};
  decltype(&g_dbus_error_quark) busErrors{};
  decltype(&g_hash_table_new) makeTable{};
  decltype(&g_hash_table_insert) insert{};
  decltype(&g_hash_table_unref) releaseTable{};
  decltype(&g_str_hash) hashText{};
  decltype(&g_str_equal) equalTexts{};
  decltype(&g_list_free) freeList{};

 private:
  bool load();

  template <class Function>
  bool find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(::dlsym(library_, name));
    return function != nullptr;
  }

  void* library_ = nullptr;
};

}  // namespace halvercine::platform::gnulinux
