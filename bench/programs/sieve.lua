-- the primes below 1,000,000 by sieve
function sieve(limit)
	local marks, i, j, count = {}, 0, 0, 0
	while i < limit do
		table.insert(marks, true)
		i = i + 1
	end
	i = 2
	while i < limit do
		if marks[i + 1] then
			count = count + 1
			j = i + i
			while j < limit do
				marks[j + 1] = false
				j = j + i
			end
		end
		i = i + 1
	end
	return count
end
print(sieve(1000000))
