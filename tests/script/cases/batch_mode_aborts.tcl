puts a


foo
puts never
