puts never
