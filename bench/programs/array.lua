-- push to an array, then read it by index
function fill(n)
	local a, i = {}, 0
	while i < n do
		table.insert(a, i * 3)
		i = i + 1
	end
	return a
end
function total(a)
	local i, n, sum = 0, #a, 0
	while i < n do
		sum = sum + a[i + 1]
		i = i + 1
	end
	return sum
end
list = fill(500000)
round, sum = 0, 0
while round < 4 do
	sum = sum + total(list)
	round = round + 1
end
print(sum + #list)
