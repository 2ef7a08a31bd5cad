-- a map of 100,000 keys, set once and read three times
function fill(n)
	local m, i = {}, 0
	while i < n do
		m['key' .. i] = i
		i = i + 1
	end
	return m
end
function total(m, n)
	local i, sum = 0, 0
	while i < n do
		sum = sum + m['key' .. i]
		i = i + 1
	end
	return sum
end
entries = fill(100000)
print(total(entries, 100000) + total(entries, 100000) + total(entries, 100000))
