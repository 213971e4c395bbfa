// The headers that go with it are compiled with it.
